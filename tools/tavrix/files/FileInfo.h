#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <tavrix/foundation/Box3.h>
#include <tavrix/mesh/MeshCavities.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshio/MeshReadingReport.h>

namespace tavrix::tool
{

/// Between what the values of a quantity of points lie, those that are finite; numbers stand in x.
struct AttributeRange
{
    std::string name;
    uint32 components;  ///< 1 or 3
    Vector3D min, max;
};

struct ParticleInfo
{
    struct Speeds
    {
        double slowest, fastest;
    };
    std::string format;          ///< as formats::formatName has it
    std::optional<int> version;  ///< of BIN files
    uint32 count;
    uint32 nonFinite;                        ///< particles without a finite position
    Box3D box;                               ///< of the finite positions; empty without any
    std::optional<Speeds> speeds;            ///< when the file holds velocities
    std::optional<double> spacing;           ///< estimated
    std::vector<AttributeRange> attributes;  ///< of the particles with a finite position
};

struct MeshInfo
{
    struct Group
    {
        std::string name;
        uint32 vertices, faces;
    };
    std::string format;  ///< "OBJ", "BIN", "binary STL", "ASCII STL" and so on
    std::vector<Group> groups;
    uint32 vertices, faces;
    uint32 nonFinite;  ///< vertices without finite coordinates
    MeshReadingReport report;
    std::vector<AttributeRange> attributes;  ///< of all meshes, by name
    bool hasNormals, hasTexture, hasVelocity;
    Box3D box;  ///< of the finite vertices; empty without any

    uint32 repeated;  ///< vertices that equal an earlier one

    // As the file has it when that is closed, else after joining vertices at the same place, for not every
    // format and group shares them.
    bool isJoined;
    MeshTopology topology;
    PartCounts components;
    double area, volume;

    struct Thickness
    {
        double least, greatest, median;
        Vector3D thinnest;  ///< the middle of the face where it is the least
    };
    std::optional<Thickness> thickness;  ///< of a closed mesh, where it was asked for
};

struct FileInfo
{
    uint64 bytes;
    std::variant<ParticleInfo, MeshInfo> content;
};

/// Reads a particle or mesh file and measures what is in it. With `isStrict` a mesh file must be whole.
/// With `measuresThickness` that of closed meshes is measured, by all processors. Throws Failure.
FileInfo inspect(const std::string& path, bool isStrict, bool measuresThickness);

}  // namespace tavrix::tool
