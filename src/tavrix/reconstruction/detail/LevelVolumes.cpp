#include <tavrix/reconstruction/detail/LevelVolumes.h>

#include <algorithm>
#include <cmath>

namespace tavrix::detail
{

LevelVolumes::LevelVolumes(double lowest, double highest)
    : _lowest(lowest),
      _binWidth((highest - lowest) / bins),
      _bends(bins + 2),
      _zeros(BlockRoom::rowLength, 0.0f)
{
}

/// From the place on, in bins, so much more gets outside a bin. Split between the places around it.
void LevelVolumes::bend(double place, int64 slope)
{
    const auto bin = static_cast<uint32>(place);
    const auto later = static_cast<int64>(static_cast<double>(slope) * (place - bin));
    _bends[bin] += slope - later;
    _bends[bin + 1] += later;
}

/// A cell whose part inside falls evenly from 1 to 0 between mean - change / 2 and mean + change / 2.
void LevelVolumes::addCell(double mean, double change)
{
    const double begin = (mean - change / 2 - _lowest) / _binWidth, length = change / _binWidth;
    if (begin + length <= 0) return;
    _inside += begin >= 0 ? one : static_cast<int64>(one * (1 + begin / length));
    const auto slope = static_cast<int64>(one / length);
    if (begin < bins) bend(std::max(begin, 0.0), slope);
    if (begin + length < bins) bend(begin + length, -slope);
}

/// The cells [first, end) of a row along z.
void LevelVolumes::addRow(const BlockRoom& room, uint32 i, uint32 j, uint32 first, uint32 end)
{
    const auto rowAt = [&](uint32 x, uint32 y) -> const float*
    {
        const bool isReached = x >= room.low[0] && x < room.high[0] && y >= room.low[1] && y < room.high[1];
        return isReached ? room.at(x, y, 0) : _zeros.data();
    };
    const float *const a = rowAt(i, j), *const b = rowAt(i, j + 1), *const c = rowAt(i + 1, j),
                       *const d = rowAt(i + 1, j + 1);
    float mean[blockEdge], square[blockEdge];
    for (uint32 k = first; k < end; ++k)
    {
        const float a2 = a[k] + a[k + 1], b2 = b[k] + b[k + 1], c2 = c[k] + c[k + 1], d2 = d[k] + d[k + 1];
        const float x = (c2 + d2) - (a2 + b2), y = (b2 + d2) - (a2 + c2);
        const float z = (a[k + 1] + b[k + 1] + c[k + 1] + d[k + 1]) - (a[k] + b[k] + c[k] + d[k]);
        mean[k] = (a2 + b2 + c2 + d2) / 8;
        square[k] = x * x + y * y + z * z;
    }
    const double narrowest = _binWidth / 16;
    for (uint32 k = first; k < end; ++k)
        addCell(mean[k], std::max(std::sqrt(double{square[k]}) / 4, narrowest));
}

void LevelVolumes::add(const BlockRoom& room)
{
    const auto first = [&](uint32 axis) { return room.low[axis] > 0 ? room.low[axis] - 1 : 0; };
    const auto end = [&](uint32 axis) { return std::min(room.high[axis], blockEdge); };
    for (uint32 i = first(0); i < end(0); ++i)
        for (uint32 j = first(1); j < end(1); ++j) addRow(room, i, j, first(2), end(2));
}

LevelVolumes& LevelVolumes::operator+=(const LevelVolumes& other)
{
    _inside += other._inside;
    for (std::size_t place = 0; place < _bends.size(); ++place) _bends[place] += other._bends[place];
    return *this;
}

double LevelVolumes::levelOf(double cells) const
{
    const double wanted = cells * static_cast<double>(one);
    int64 inside = _inside, slope = 0;
    for (uint32 bin = 0; bin < bins; ++bin)
    {
        slope += _bends[bin];
        const int64 next = inside - slope;
        if (static_cast<double>(next) <= wanted)
        {
            const double share =
                slope > 0 ? (static_cast<double>(inside) - wanted) / static_cast<double>(slope) : 0;
            return _lowest + _binWidth * (bin + std::clamp(share, 0.0, 1.0));
        }
        inside = next;
    }
    return _lowest + _binWidth * bins;
}

}  // namespace tavrix::detail
