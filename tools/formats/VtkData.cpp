#include "formats/VtkData.h"

#include <algorithm>

namespace tavrix::formats
{

namespace
{

void addPolygon(PolygonCells& cells, std::initializer_list<int64> corners)
{
    for (const int64 corner : corners) cells.corners.push_back(corner);
    cells.ends.push_back(cells.corners.size());
}

void addStrip(PolygonCells& cells, std::span<const int64> corners)
{
    for (std::size_t n = 2; n < corners.size(); ++n)
    {
        const bool isTurned = n % 2 == 1;
        addPolygon(cells, {corners[n - 2], corners[isTurned ? n : n - 1], corners[isTurned ? n - 1 : n]});
    }
}

}  // namespace

bool isPolygonCell(int64 type) { return type >= 5 && type <= 9; }

void addCell(PolygonCells& cells, VtkCell type, std::span<const int64> corners)
{
    switch (type)
    {
        case VtkCell::Triangle:
        case VtkCell::Quad:
        case VtkCell::Polygon:
            if (corners.size() < 3) return;
            for (const int64 corner : corners) cells.corners.push_back(corner);
            cells.ends.push_back(cells.corners.size());
            return;
        case VtkCell::Strip:
            return addStrip(cells, corners);
        case VtkCell::Pixel:
            if (corners.size() == 4) addPolygon(cells, {corners[0], corners[1], corners[3], corners[2]});
            return;
    }
}

void append(PolygonData& all, PointData& points, const VtkPiece& piece)
{
    const uint32 first = points.positions.size();
    append(points, decode(piece.points));
    uint32 begin = 0;
    for (const uint32 end : piece.polygons.ends)
    {
        const std::span corners(piece.polygons.corners.begin() + begin, end - begin);
        begin = end;
        const auto isPoint = [&](int64 corner) { return corner >= 0 && corner < piece.points.count; };
        if (!std::all_of(corners.begin(), corners.end(), isPoint))
        {
            ++all.leftOut;
            continue;
        }
        for (const int64 corner : corners) all.corners.push_back(first + static_cast<uint32>(corner));
        all.ends.push_back(all.corners.size());
    }
}

}  // namespace tavrix::formats
