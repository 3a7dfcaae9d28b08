#pragma once

#include <string>
#include <vector>

namespace tavrix::formats
{

/// The formats that are known. Ply, VtkLegacy and VtkXml hold particles or a mesh, the others what stands
/// behind them.
enum class FileKind
{
    ParticleBin,  ///< particles
    MeshBin,      ///< meshes
    Obj,
    Stl,
    Ase,
    Ply,        ///< either
    VtkLegacy,  ///< either
    VtkXml,     ///< either: VTU, VTP, VTS
    Bgeo,       ///< particles
    Xyz,
    Csv,
    Npy,
    Json,
    Off,  ///< meshes
    Gltf,
    ThreeMf,
    Other,  ///< a mesh file for the optional import library
};

/// What may be in files of a kind.
/// @{
bool mayHoldParticles(FileKind kind);
bool mayHoldMesh(FileKind kind);
/// @}

/// The name of the format, as in "binary STL files are STL": "STL", "PLY", "VTK XML" and so on.
std::string formatName(FileKind kind);

/// The extensions, in small letters and without the dot, of files that can be read as particles or as meshes,
/// and of those that meshes can be written to. Those of the import library are not among them.
/// @{
const std::vector<std::string>& particleExtensions();
const std::vector<std::string>& meshExtensions();
const std::vector<std::string>& writableExtensions();
/// @}

/// What kind of file this is: what its first bytes say, behind gzip if it is compressed so; where they say
/// nothing, its extension, in capitals or not (water.csv.gz is a .csv). Throws Failure when it cannot be
/// opened, is a folder or is of no known kind.
FileKind kindOfFile(const std::string& path);

/// Whether the file is to be read as a mesh, not as particles; of a kind that may be either it is when there
/// are polygons in it (see holdsPolygons). Throws Failure as kindOfFile does.
bool holdsMesh(const std::string& path);

}  // namespace tavrix::formats
