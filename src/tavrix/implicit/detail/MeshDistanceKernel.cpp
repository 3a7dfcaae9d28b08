#include <tavrix/implicit/detail/MeshDistanceKernel.h>

#include <tavrix/fields/detail/SplatRows.h>

namespace tavrix::detail::TX_KERNEL
{

namespace
{

Vector middle(const Vector& a, const Vector& b) { return a + (b - a) * 0.5; }

/// A unit vector at right angles to a unit vector.
Vector perpendicular(const Vector& u)
{
    const Vector v = u.x * u.x < 0.5 ? Vector{0, u.z, -u.y} : Vector{-u.z, 0, u.x};
    return v * (1 / length(v));
}

/// Below this ratio of height to length a face counts as its longest edge: there the rounding of its normal
/// would weigh more than what lies between its edges.
constexpr double smallestHeight = 1.5e-8;

/// The face with its longest edge first.
struct Face
{
    Vector corner[3];
    Vector along[3];  ///< unit vectors
    double length[3];
    Vector normal;  ///< unit vector
};

Face makeFace(const Vector3D& a, const Vector3D& b, const Vector3D& c)
{
    const Vector corners[5] = {
        {a.x, a.y, a.z}, {b.x, b.y, b.z}, {c.x, c.y, c.z}, {a.x, a.y, a.z}, {b.x, b.y, b.z}};
    double squares[3];
    for (uint32 e = 0; e < 3; ++e)
    {
        const Vector edge = corners[e + 1] - corners[e];
        squares[e] = dot(edge, edge);
    }
    const uint32 first =
        squares[0] >= squares[1] ? (squares[0] >= squares[2] ? 0 : 2) : (squares[1] >= squares[2] ? 1 : 2);
    Face face;
    for (uint32 e = 0; e < 3; ++e) face.corner[e] = corners[(first + e) % 3];
    Vector edges[3];
    for (uint32 e = 0; e < 3; ++e)
    {
        edges[e] = face.corner[(e + 1) % 3] - face.corner[e];
        face.length[e] = length(edges[e]);
    }
    const Vector normal = cross(edges[0], edges[1]);
    const double twiceArea = length(normal);
    if (twiceArea > smallestHeight * dot(edges[0], edges[0]))
    {
        for (uint32 e = 0; e < 3; ++e) face.along[e] = edges[e] * (1 / face.length[e]);
        face.normal = normal * (1 / twiceArea);
        return face;
    }
    // its longest edge, there, back and there again
    const Vector along = face.length[0] > 0 ? edges[0] * (1 / face.length[0]) : Vector{1, 0, 0};
    face.corner[2] = face.corner[0];
    for (uint32 e = 0; e < 3; ++e)
    {
        face.along[e] = along * (e == 1 ? -1 : 1);
        face.length[e] = face.length[0];
    }
    face.normal = perpendicular(along);
    return face;
}

/// The distances of a place from a face's edges and plane, which are affine in the place: constant at the
/// origin, a slope per axis. Numbers 0 to 2 are the distances from the edges' lines in the plane of the face,
/// above 0 outside; 3 to 5 those from the edges' middles along them; 6 is that from the plane.
constexpr uint32 formCount = 8, normalForm = 6;

template <class T>
struct FaceForms
{
    Vector origin;
    T constant[formCount];
    T slope[3][formCount];
    T halfLength[3];

    void set(uint32 form, const Vector& direction, const Vector& zero)
    {
        constant[form] = static_cast<T>(dot(direction, origin - zero));
        slope[0][form] = static_cast<T>(direction.x);
        slope[1][form] = static_cast<T>(direction.y);
        slope[2][form] = static_cast<T>(direction.z);
    }
};

template <class T>
FaceForms<T> makeForms(const Face& face, const Vector& origin)
{
    FaceForms<T> forms;
    forms.origin = origin;
    for (uint32 e = 0; e < 3; ++e)
    {
        const double half = face.length[e] * 0.5;
        const Vector& from = face.corner[e];
        forms.set(e, cross(face.along[e], face.normal), from);
        forms.set(3 + e, face.along[e], from + face.along[e] * half);
        forms.halfLength[e] = static_cast<T>(half);
    }
    forms.set(normalForm, face.normal, face.corner[0]);
    forms.set(normalForm + 1, Vector{0, 0, 0}, origin);
    return forms;
}

/// Lowers `width` samples at the offsets along z from the origin; `row` has the forms at offset 0.
///
/// Over the face the distance is that from its plane, elsewhere that from the nearest edge. A place is over
/// the face when it is inside all edges and beside the longest: without the latter, places beyond the tip of
/// a needle would pass for inside by rounding.
template <uint32 width, class T>
inline void lowerLanes(T* __restrict samples, const T* __restrict offsets, const T* __restrict row,
                       const FaceForms<T>& forms)
{
    const T* slope = forms.slope[2];
    const T* half = forms.halfLength;
    for (uint32 n = 0; n < width; ++n)
    {
        const T z = offsets[n];
        const T across0 = row[0] + slope[0] * z;
        const T across1 = row[1] + slope[1] * z;
        const T across2 = row[2] + slope[2] * z;
        const T beyond0 = absolute(row[3] + slope[3] * z) - half[0];
        const T beyond1 = absolute(row[4] + slope[4] * z) - half[1];
        const T beyond2 = absolute(row[5] + slope[5] * z) - half[2];
        const T height = row[6] + slope[6] * z;
        const T past0 = larger(beyond0, T(0));
        const T past1 = larger(beyond1, T(0));
        const T past2 = larger(beyond2, T(0));
        const T edge = smaller(smaller(across0 * across0 + past0 * past0, across1 * across1 + past1 * past1),
                               across2 * across2 + past2 * past2);
        const T outside = larger(larger(across0, across1), larger(across2, beyond0));
        const T square = height * height + (outside > 0 ? edge : T(0));
        samples[n] = square < samples[n] ? square : samples[n];
    }
}

/// Samples of a row, half open.
struct RowRange
{
    uint32 first, last;
};

/// The part [0, count) of a row, at the offsets, where the forms do not rule out that the face is within the
/// limit. Widened by a sample on either side against rounding.
template <class T>
inline RowRange clipped(const T* row, const T* slope, const T* offsets, uint32 count, T reciprocal, T limit)
{
    T low = offsets[0], high = offsets[count - 1];
    const auto cut = [&](T value, T rise)
    {
        // in this order a quotient that is no number leaves the row as it was
        if (rise > 0)
            high = smaller((limit - value) / rise, high);
        else if (rise < 0)
            low = larger((limit - value) / rise, low);
        else if (value > limit)
            high = low - 1;
    };
    for (uint32 edge = 0; edge < 3; ++edge) cut(row[edge], slope[edge]);
    cut(row[normalForm], slope[normalForm]);
    cut(-row[normalForm], -slope[normalForm]);
    if (!(low - high <= 0)) return {0, 0};  // or all offsets infinite, the face is so far
    const auto before = static_cast<uint32>((low - offsets[0]) * reciprocal);
    const auto after = static_cast<uint32>((high - offsets[0]) * reciprocal) + 3;
    return {before > 0 ? before - 1 : 0, after < count ? after : count};
}

/// Where a face may lower samples, and by what.
template <class T>
struct FaceJob
{
    const FaceForms<T>& forms;
    NodeRange range[3];
    RowPart part;
    const T* offsets;  ///< along z, of the part's samples
    T limit;           ///< what no form exceeds where the face is within the band
};

/// Lowers the samples of one row from its part on.
template <uint32 width, class T>
inline void lowerRow(const DistanceTarget<T>& target, const FaceJob<T>& job, const T* row, T* samples)
{
    RowRange range{0, job.part.count};
    // In short rows looking for the part that counts costs more than it saves.
    if (job.part.count > 2 * lanes)
    {
        range = clipped(row, job.forms.slope[2], job.offsets, job.part.count,
                        static_cast<T>(target.reciprocal[2]), job.limit);
        range.first -= range.first % width;
    }
    for (uint32 k = range.first; k < range.last; k += width)
        lowerLanes<width>(samples + k, job.offsets + k, row, job.forms);
}

template <uint32 width, class T>
inline void lowerRows(const DistanceTarget<T>& target, const FaceJob<T>& job)
{
    const FaceForms<T>& forms = job.forms;
    const std::size_t strideY = target.size[2], strideX = strideY * target.size[1];
    for (uint32 i = job.range[0].low; i < job.range[0].high; ++i)
    {
        const T x = static_cast<T>(target.nodes[0][i] - forms.origin.x);
        T plane[formCount];
        for (uint32 f = 0; f < formCount; ++f) plane[f] = forms.constant[f] + forms.slope[0][f] * x;
        T* samples = target.samples + i * strideX + job.range[1].low * strideY + job.part.start;
        for (uint32 j = job.range[1].low; j < job.range[1].high; ++j, samples += strideY)
        {
            const T y = static_cast<T>(target.nodes[1][j] - forms.origin.y);
            T row[formCount];
            for (uint32 f = 0; f < formCount; ++f) row[f] = plane[f] + forms.slope[1][f] * y;
            lowerRow<width>(target, job, row, samples);
        }
    }
}

/// The nodes of an axis between two coordinates, widened by the band.
template <class T>
inline NodeRange nodesWithin(const DistanceTarget<T>& target, uint32 axis, double least, double most,
                             uint32 low, uint32 high)
{
    constexpr double farNode = 1e10;  // past the end of every grid
    const double first = (least - target.band - target.nodes[axis][0]) * target.reciprocal[axis];
    const double last = (most + target.band - target.nodes[axis][0]) * target.reciprocal[axis];
    return NodeRange::between(ceilOf(smaller(larger(first, -farNode), farNode)),
                              floorOf(smaller(larger(last, -farNode), farNode)) + 1, low, high);
}

template <class T>
void lowerToFace(const DistanceTarget<T>& target, const Vector3D& a, const Vector3D& b, const Vector3D& c,
                 uint32 low, uint32 high, T* scratch)
{
    const Vector least{smaller(smaller(a.x, b.x), c.x), smaller(smaller(a.y, b.y), c.y),
                       smaller(smaller(a.z, b.z), c.z)};
    const Vector most{larger(larger(a.x, b.x), c.x), larger(larger(a.y, b.y), c.y),
                      larger(larger(a.z, b.z), c.z)};
    const NodeRange x = nodesWithin(target, 0, least.x, most.x, low, high);
    const NodeRange y = nodesWithin(target, 1, least.y, most.y, 0, target.size[1]);
    const NodeRange z = nodesWithin(target, 2, least.z, most.z, 0, target.size[2]);
    if (x.isEmpty() || y.isEmpty() || z.isEmpty()) return;

    const FaceForms<T> forms = makeForms<T>(makeFace(a, b, c), middle(least, most));
    const RowPart part = RowPart::covering(z, 0, target.size[2]);
    for (uint32 k = 0; k < part.count; ++k)
        scratch[k] = static_cast<T>(target.nodes[2][part.start + k] - forms.origin.z);
    const T size = forms.halfLength[0] * 2;
    const T limit = static_cast<T>(target.band) + T(1e-5) * (static_cast<T>(target.band) + size);
    const FaceJob<T> job{forms, {x, y, z}, part, scratch, limit};
    if (part.isInGroups())
        lowerRows<lanes>(target, job);
    else
        lowerRows<1>(target, job);
}

}  // namespace

template <class T>
void lowerToFaces(const DistanceTarget<T>& target, const Vector3D* positions, const Index3* faces,
                  const uint32* numbers, std::size_t count, uint32 low, uint32 high, T* scratch)
{
    for (std::size_t n = 0; n < count; ++n)
    {
        const Index3& t = faces[numbers[n]];
        lowerToFace(target, positions[t.a], positions[t.b], positions[t.c], low, high, scratch);
    }
}

template <class T>
void rootsUpTo(T* samples, std::size_t count, T band)
{
    const T square = band * band;
    for (std::size_t n = 0; n < count; ++n)
    {
        const T s = samples[n];
        const T root = static_cast<T>(sqrt(s));
        samples[n] = s < square ? smaller(root, band) : band;
    }
}

#define TX_INSTANTIATE(T)                                                                               \
    template void lowerToFaces(const DistanceTarget<T>&, const Vector3D*, const Index3*, const uint32*, \
                               std::size_t, uint32, uint32, T*);                                        \
    template void rootsUpTo(T*, std::size_t, T);
TX_INSTANTIATE(float)
TX_INSTANTIATE(double)
#undef TX_INSTANTIATE

}  // namespace tavrix::detail::TX_KERNEL
