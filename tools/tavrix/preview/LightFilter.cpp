#include <algorithm>
#include <cmath>

#include <tavrix/foundation/ParallelFor.h>

#include "preview/Light.h"

namespace tavrix::tool
{

namespace
{

struct LightOfPixel
{
    Vector3F fill;
    float key;
    float fillWeight, keyWeight;
};

/// How much pixel q says about pixel p: all when they lie in one plane, nothing across an edge.
float similarity(const Pixel& p, const Pixel& q, float pixelSize)
{
    if (q.weight == 0) return 0;
    float cosine = std::max(dot(p.normal, q.normal), 0.0f);
    for (int n = 0; n < 4; ++n) cosine *= cosine;
    const float offPlane = std::fabs(dot(p.normal, q.position - p.position)) / (4 * pixelSize);
    return cosine * std::max(1 - offPlane, 0.0f);
}

/// One pass of an à-trous filter that stops at edges (Dammertz, Sewtz, Hanika and Lensch, High Performance
/// Graphics 2010): a three by three binomial over pixels `step` apart, weighted by similarity.
LightOfPixel smoothed(const std::vector<Pixel>& pixels, int width, int height, int x, int y, int step,
                      float pixelSize)
{
    constexpr float binomial[] = {0.5f, 0.25f};
    const auto at = [&](int column, int row) -> const Pixel&
    {
        return pixels[static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(column)];
    };
    const Pixel& p = at(x, y);
    LightOfPixel sum{};
    float fillWeights = 0, keyWeights = 0;
    for (int j = -1; j <= 1; ++j)
        for (int i = -1; i <= 1; ++i)
        {
            const int column = x + i * step, row = y + j * step;
            if (column < 0 || column >= width || row < 0 || row >= height) continue;
            const Pixel& q = at(column, row);
            const float near = binomial[std::abs(i)] * binomial[std::abs(j)];
            const float weight = near * (i == 0 && j == 0 ? 1 : similarity(p, q, pixelSize));
            // what was not asked for a light knows nothing of it
            const float forFill = q.fillWeight > 0 ? weight : 0, forKey = q.keyWeight > 0 ? weight : 0;
            sum.fill += q.fillLight * forFill;
            sum.key += q.keyLight * forKey;
            fillWeights += forFill;
            keyWeights += forKey;
        }
    return {sum.fill * (fillWeights > 0 ? 1 / fillWeights : 0), keyWeights > 0 ? sum.key / keyWeights : 0,
            fillWeights, keyWeights};
}

}  // namespace

void filterLight(std::vector<Pixel>& pixels, uint32 width, uint32 height, const View& view, uint32 threads)
{
    std::vector<LightOfPixel> lights(pixels.size());
    const Vector3F eye = convert<float>(view.camera.eye), forward = convert<float>(view.camera.forward);
    const auto pixelAngle = static_cast<float>(2 * view.camera.tangentX / width);
    for (const int step : {1, 2, 4, 8})
    {
        const auto smoothRow = [&](uint64 y)
        {
            for (uint32 x = 0; x < width; ++x)
            {
                const std::size_t n = y * width + x;
                const Pixel& p = pixels[n];
                if (p.weight == 0) continue;
                const float pixelSize = dot(p.position - eye, forward) * pixelAngle;
                lights[n] = smoothed(pixels, static_cast<int>(width), static_cast<int>(height),
                                     static_cast<int>(x), static_cast<int>(y), step, pixelSize);
            }
        };
        parallelFor(height, threads,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        for (uint64 y = begin; y < end; ++y) smoothRow(y);
                    });
        parallelFor(pixels.size(), threads,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        for (uint64 n = begin; n < end; ++n)
                        {
                            pixels[n].fillLight = lights[n].fill;
                            pixels[n].keyLight = lights[n].key;
                            pixels[n].fillWeight = lights[n].fillWeight;
                            pixels[n].keyWeight = lights[n].keyWeight;
                        }
                    });
    }
}

}  // namespace tavrix::tool
