#pragma once

#include <span>
#include <vector>

#include <tavrix/reconstruction/detail/BlockRoom.h>

namespace tavrix::detail
{

/// The volume that a field's surface encloses, for every level of a range at once. A cell counts as if its
/// field were linear and changed along an axis: by the part 1/2 + (mean - level) / (change across the cell),
/// between 0 and 1. Sums of whole numbers: the same in any order.
class LevelVolumes
{
public:
    LevelVolumes(double lowest, double highest);

    /// Adds the cells of a block.
    void add(const BlockRoom& room);
    /// Adds a block that lies inside at all levels.
    void addInside() { _inside += one * blockEdge * blockEdge * blockEdge; }
    LevelVolumes& operator+=(const LevelVolumes& other);
    /// Calls use(span) for all numbers that are summed up.
    template <class Use>
    void forEachSum(const Use& use)
    {
        use(std::span<int64>(&_inside, 1));
        use(std::span<int64>(_bends));
    }

    /// The level of the range at which so many cells are inside, or the nearest to it.
    double levelOf(double cells) const;
    /// Whether a level is within the range.
    bool holds(double level) const { return level > _lowest && level < _lowest + _binWidth * bins; }

private:
    static constexpr uint32 bins = 4096;
    static constexpr int64 one = 1 << 24;  ///< a cell

    void addRow(const BlockRoom& room, uint32 i, uint32 j, uint32 first, uint32 end);
    void addCell(double mean, double change);
    void bend(double place, int64 slope);

    double _lowest, _binWidth;
    int64 _inside = 0;          ///< at the lowest level
    std::vector<int64> _bends;  ///< how much more gets outside a bin from each place on
    std::vector<float> _zeros;  ///< a row that no particle reaches
};

}  // namespace tavrix::detail
