#include <tavrix/meshproc/detail/RingFilter.h>

#include <algorithm>
#include <cmath>

#include <tavrix/foundation/ElementaryFunctions.h>

namespace tavrix::detail
{

namespace
{

double powerOf(double base, uint32 exponent)
{
    double power = 1;
    while (exponent > 0)
    {
        if (exponent & 1) power *= base;
        base *= base;
        exponent >>= 1;
    }
    return power;
}

/// The mean of the values of a ring.
Wector3F meanOf(VertexRings::Ring ring, const Wector3F* values)
{
    Wector3F sum{0, 0, 0, 0};
    for (const uint32 n : ring)
    {
        sum.x += values[n].x;
        sum.y += values[n].y;
        sum.z += values[n].z;
        sum.w += values[n].w;
    }
    const float share = 1.0f / static_cast<float>(std::max(ring.size, 1u));
    return {sum.x * share, sum.y * share, sum.z * share, sum.w * share};
}

void addScaled(Wector3F& sum, const Wector3F& value, float factor)
{
    sum.x += value.x * factor;
    sum.y += value.y * factor;
    sum.z += value.z * factor;
    sum.w += value.w * factor;
}

}  // namespace

uint32 termsFor(uint32 passes)
{
    constexpr uint32 spare = 8;
    const auto terms = static_cast<uint32>(std::sqrt(8.0 * passes)) + spare;
    return static_cast<uint32>(std::min<uint64>(terms, uint64{2} * passes + 1));
}

Coefficients responseOf(uint32 passes, PassResponse response, uint32 terms)
{
    const uint32 places = 4 * terms + 64;
    std::vector<double> sums(terms, 0.0);
    for (uint32 p = 0; p < places; ++p)
    {
        const double angle = piValue * (p + 0.5) / places;
        const double cosine = sineCosine(angle).second;
        const double half = powerOf((1 + cosine) / 2, passes), lost = 1 - half;
        const double value = response == PassResponse::Plain ? half : 1 - lost * lost;
        double before = cosine, at = 1;  // cos(-angle), cos(0)
        for (uint32 k = 0; k < terms; ++k)
        {
            sums[k] += value * at;
            const double next = 2 * cosine * at - before;
            before = at;
            at = next;
        }
    }
    Coefficients coefficients(terms);
    for (uint32 k = 0; k < terms; ++k)
        coefficients[k] = static_cast<float>(sums[k] * (k == 0 ? 1 : 2) / places);
    return coefficients;
}

bool filterRings(const VertexRings& rings, const MeshBorder& border, const Array<Wector3F>& umbrella,
                 uint32 terms, const std::vector<FilterOutput*>& outputs, uint32 threadCount,
                 Polling& polling)
{
    // with T_k the Chebyshev polynomials and d_k = T_k(A) v - v: d_0 = 0, d_1 = A v - v, and
    // d_k+1 = 2 (A v - v) + 2 A d_k - d_k-1
    const uint32 count = rings.size();
    Array<Wector3F> before(count), at(count);
    const auto addTerm = [&](uint32 v, uint32 k, const Wector3F& value)
    {
        for (FilterOutput* output : outputs)
            addScaled(output->values[v], value, output->responses[output->assigned[v]][k]);
    };
    for (FilterOutput* output : outputs) output->values.resize(count);
    const LongStep step(polling, uint64{terms} * count);
    bool isDone = inPieces(polling, count, scatteredItems, threadCount,
                           [&](uint32, uint64 begin, uint64 end)
                           {
                               for (auto v = static_cast<uint32>(begin); v < end; ++v)
                               {
                                   before[v] = {0, 0, 0, 0};
                                   at[v] = umbrella[v];
                                   for (FilterOutput* output : outputs) output->values[v] = {0, 0, 0, 0};
                                   if (terms > 1) addTerm(v, 1, at[v]);
                               }
                           });
    for (uint32 k = 2; border.all(isDone) && k < terms; ++k)
    {
        isDone = inPieces(polling, count, scatteredItems, threadCount,
                          [&](uint32, uint64 begin, uint64 end)
                          {
                              for (auto v = static_cast<uint32>(begin); v < end; ++v)
                              {
                                  const VertexRings::Ring ring = rings[v];
                                  if (ring.size == 0) continue;
                                  const Wector3F mean = meanOf(ring, at.data());
                                  Wector3F next{-before[v].x, -before[v].y, -before[v].z, -before[v].w};
                                  addScaled(next, umbrella[v], 2);
                                  addScaled(next, mean, 2);
                                  before[v] = next;
                                  addTerm(v, k, next);
                              }
                          });
        border.update(before);
        before.swap(at);
    }
    return border.all(isDone);
}

}  // namespace tavrix::detail
