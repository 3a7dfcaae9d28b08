#include "formats/PolygonData.h"

#include "formats/Bytes.h"
#include "formats/Failure.h"
#include "formats/FileKind.h"
#include "formats/Ply.h"
#include "formats/VtkLegacy.h"
#include "formats/VtkXml.h"

namespace tavrix::formats
{

namespace
{

/// The pieces of a file that may hold polygons; none of a file of another kind.
std::vector<VtkPiece> readPieces(const std::string& path, VtkWish wish)
{
    std::vector<VtkPiece> pieces;
    switch (kindOfFile(path))
    {
        case FileKind::Ply:
        {
            PlyData ply = readPly(readBytes(path), path, true);
            pieces.push_back({std::move(ply.points), std::move(ply.polygons)});
            break;
        }
        case FileKind::VtkLegacy:
            pieces.push_back(readVtkLegacy(readBytes(path), path, wish));
            break;
        case FileKind::VtkXml:
            return readVtkXml(readBytes(path), path, wish);
        default:
            break;
    }
    return pieces;
}

}  // namespace

bool holdsPolygons(const std::string& path)
{
    if (kindOfFile(path) == FileKind::Ply)
    {
        const std::string head = readHead(path, 0x10000);
        const bool isWhole = head.find("end_header") != std::string::npos;
        return plyHoldsPolygons(isWhole ? std::string_view(head) : readBytes(path).view(), path);
    }
    for (const VtkPiece& piece : readPieces(path, VtkWish::Outline))
        if (!piece.polygons.ends.empty()) return true;
    return false;
}

PolygonData readPolygonData(const std::string& path)
{
    PolygonData data{};
    PointData points;
    for (VtkPiece& piece : readPieces(path, VtkWish::Polygons))
    {
        gatherVectors(piece.points);
        append(data, points, piece);
    }
    if (points.positions.empty()) throw Failure(path + ": holds no points; export the mesh again");
    data.normals = takeVectors(points.attributes, {"normals", "normal", "n"});
    data.positions = std::move(points.positions);
    data.attributes = std::move(points.attributes);
    return data;
}

}  // namespace tavrix::formats
