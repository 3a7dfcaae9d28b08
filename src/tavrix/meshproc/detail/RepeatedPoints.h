#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/PointHash.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/detail/Prefetch.h>

namespace tavrix::detail
{

/// Finds points that repeat an earlier one to the bit, as most corners of a triangle soup do. One look into a
/// table that keeps, for each hash, the last point that had it: most repetitions are found, not all.
template <class T>
class RepeatedPoints
{
public:
    /// Sets `twin[i]` to an index below i for a point that repeats that one, which repeats none itself; to
    /// one above i for a point that is repeated; and to i otherwise. Only points that are finite repeat
    /// others, and only such for which mayRepeat(i, earlier) is true.
    template <class MayRepeat>
    static void find(const Array<Vector3<T>>& points, Array<uint32>& twin, MayRepeat mayRepeat)
    {
        const uint32 tableBits = std::min(static_cast<uint32>(std::bit_width(points.size() / 2 + 1)), 24u);
        Array<uint32> lastOf(1u << tableBits, 0);
        std::array<uint32, batch> slots;
        for (uint32 start = 0; start < points.size(); start += std::min(batch, points.size() - start))
        {
            const uint32 count = std::min(batch, points.size() - start);
            for (uint32 n = 0; n < count; ++n)
            {
                slots[n] = static_cast<uint32>(hashOf(points[start + n]) >> (64 - tableBits));
                prefetch(lastOf.data() + slots[n]);
            }
            for (uint32 n = 0; n < count; ++n) prefetch(points.data() + lastOf[slots[n]]);
            for (uint32 n = 0; n < count; ++n)
            {
                const uint32 i = start + n;
                uint32& last = lastOf[slots[n]];
                twin[i] = i;
                if (last < i && haveSameBits(points[i], points[last]) && isFinite(points[i]) &&
                    mayRepeat(i, last))
                {
                    twin[i] = last;
                    twin[last] = i;
                }
                else
                    last = i;
            }
        }
    }

private:
    static constexpr uint32 batch = 32;

    static bool haveSameBits(const Vector3<T>& a, const Vector3<T>& b)
    {
        return std::memcmp(&a, &b, sizeof a) == 0;  // NOLINT(bugprone-suspicious-memory-comparison): bits
    }
};

}  // namespace tavrix::detail
