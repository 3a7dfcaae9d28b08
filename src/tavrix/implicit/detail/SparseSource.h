#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/implicit/detail/SparseField.h>
#include <tavrix/isosurface/detail/LookupSource.h>

namespace tavrix::detail
{

/// The held samples of a sparse field, and the default value elsewhere. Only the rows that hold nodes are
/// looked at, and those next to them: elsewhere all samples are equal.
template <class T>
class SparseSource : public LookupSource<SparseField<T>, T>
{
    using Base = LookupSource<SparseField<T>, T>;
    using Base::_field;
    using Base::_threshold;

public:
    using Base::Base;
    using Base::grid;

    /// The cells of the range that the surface crosses, ascending; whatever, once the polling has stopped.
    /// Each worker takes a run of planes.
    Array<CrossedCell> findCells(const CellRange& cells, uint32 threadCount, Polling& polling) const
    {
        const uint64 planes = cells.high.a - cells.low.a,
                     workers = std::min<uint64>(
                         planes, threadsWorth(_field.heldCount(), scatteredItems, threadCount));
        std::vector<std::vector<CrossedCell>> found(workers);
        polledFor(polling, workers, threadCount,
                  [&](uint32, uint64 first, uint64 last)
                  {
                      for (uint64 w = first; w < last; ++w)
                          found[w] = RowVisitor(*this, cells)
                                         .run(cells.low.a + static_cast<uint32>(planes * w / workers),
                                              cells.low.a + static_cast<uint32>(planes * (w + 1) / workers),
                                              polling);
                  });
        return joined(found);
    }

private:
    /// Finds the crossed cells of planes, one after the other. Keeps the sign bits of the rows that hold
    /// nodes, of two planes in turn, and those of a row that holds none.
    class RowVisitor
    {
    public:
        RowVisitor(const SparseSource& source, const CellRange& cells)
            : _source(source),
              _field(source._field),
              _cells(cells),
              _signs(2, source.grid().sizeY, source.grid().sizeZ),
              _isFarSet(source._field.getDefaultValue() >= source._threshold),
              _farRow(_signs.wordsPerRow(), _isFarSet ? ~uint64{0} : 0)
        {
        }

        std::vector<CrossedCell> run(uint32 begin, uint32 end, Polling& polling)
        {
            PollCounter work(polling, nodesPerPoll);
            for (uint32 i = begin; i <= end; ++i)
                for (uint32 j = _cells.low.b; j <= _cells.high.b; ++j)
                {
                    const uint64 held = classify(i, j);
                    if (i > begin && j > _cells.low.b) visit(i - 1, j - 1);
                    if (!work.add(held + _signs.wordsPerRow())) return {};
                }
            return std::move(_found);
        }

    private:
        bool isHeld(uint32 i, uint32 j) const
        {
            const auto row = _field.row(i, j);
            return row.begin < row.end;
        }
        const uint64* bitsOf(uint32 i, uint32 j) const
        {
            return isHeld(i, j) ? _signs.row(i % 2, j) : _farRow.data();
        }

        /// Writes the sign bits of a row that holds nodes; returns their number.
        uint32 classify(uint32 i, uint32 j)
        {
            const auto row = _field.row(i, j);
            if (row.begin == row.end) return 0;
            uint64* bits = _signs.row(i % 2, j);
            std::copy(_farRow.begin(), _farRow.end(), bits);
            for (uint32 n = row.begin; n < row.end; ++n)
            {
                const uint32 k = _field.indexInRow(n);
                const bool isOther = (_field.values()[n] >= _source._threshold) != _isFarSet;
                bits[k / 64] ^= uint64{isOther} << k % 64;
            }
            return row.end - row.begin;
        }

        /// Takes over the crossed cells of a column whose four rows are classified.
        void visit(uint32 i, uint32 j)
        {
            const uint64* rows[4] = {bitsOf(i, j), bitsOf(i + 1, j), bitsOf(i + 1, j + 1), bitsOf(i, j + 1)};
            const auto isFar = [this](const uint64* row) { return row == _farRow.data(); };
            if (std::all_of(rows, rows + 4, isFar)) return;
            const uint32 start = _source.grid().getMonoindex(i, j, 0);
            forEachCrossedCell(rows, _signs.wordsPerRow(), _cells.low.c, _cells.high.c,
                               [&](uint32 k, uint32 index)
                               { _found.push_back(crossedCell(start + k, index)); });
        }

        const SparseSource& _source;
        const SparseField<T>& _field;
        const CellRange& _cells;
        SignRows _signs;
        bool _isFarSet;               ///< whether the bits of nodes that are not held are set
        std::vector<uint64> _farRow;  ///< set also past the last node, which no cell reads
        std::vector<CrossedCell> _found;
    };
};

}  // namespace tavrix::detail
