#pragma once

#include <functional>
#include <string>

namespace CLI
{
class App;
}

namespace tavrix::tool
{

struct SurfaceOptions;

/// The command that the arguments chose, and what messages about it name.
struct Command
{
    std::function<int()> run;  ///< returns the exit status, or throws Failure
    std::string input;         ///< the file that it reads
    std::string output;        ///< the file that it writes; empty: standard output
    std::string memoryHint = "close other programs or use a larger machine";  ///< when memory runs out
};

// Each adds a command to the program; when the arguments choose it, `command` becomes it.

/// Adds `tavrix surface`: particles in, surface mesh out, for one file or a sequence of them. run does the
/// work: returns the exit status, or throws Failure. Returns what was added.
CLI::App* addSurfaceCommand(CLI::App& app, Command& command,
                            const std::function<int(const SurfaceOptions&)>& run);

/// Adds `tavrix levelset`: a mesh, particles or a field in, the surface of their distances, grown, shrunk or
/// hollowed, and the field out.
void addLevelSetCommand(CLI::App& app, Command& command);

/// Adds `tavrix convert`: a mesh file in, the same in another format out.
void addConvertCommand(CLI::App& app, Command& command);

/// Adds `tavrix simplify`: a mesh file in, the same with fewer faces or with near vertices joined out.
void addSimplifyCommand(CLI::App& app, Command& command);

/// Adds `tavrix subdivide`: a mesh file in, the same with more faces out.
void addSubdivideCommand(CLI::App& app, Command& command);

/// Adds `tavrix displace`: a mesh file in, the same with its vertices moved along their normals out.
void addDisplaceCommand(CLI::App& app, Command& command);

/// Adds `tavrix remesh`: a mesh file in, the same surface with even faces out.
void addRemeshCommand(CLI::App& app, Command& command);

/// Adds `tavrix fill`: a mesh file in, the same with its holes closed out.
void addFillCommand(CLI::App& app, Command& command);

/// Adds `tavrix sphere`: a triangulated sphere out.
void addSphereCommand(CLI::App& app, Command& command);

/// Adds `tavrix info`: what particle and mesh files hold.
void addInfoCommand(CLI::App& app, Command& command);

/// Adds `tavrix preview`: mesh and particle files in, a picture out.
void addPreviewCommand(CLI::App& app, Command& command);

/// Adds `tavrix slice`: a mesh file in, its cuts with parallel planes as polygons out.
void addSliceCommand(CLI::App& app, Command& command);

/// Adds `tavrix query`: where rays hit a mesh, and what of it is nearest to points.
void addQueryCommand(CLI::App& app, Command& command);

}  // namespace tavrix::tool
