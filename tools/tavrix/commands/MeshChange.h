#pragma once

#include <functional>
#include <string>
#include <vector>

#include "commands/MeshClip.h"
#include "commands/MeshFinish.h"
#include "sequence/FrameByFrame.h"

namespace tavrix::tool
{

/// What the commands that make a mesh of a mesh have in common; their options begin with it.
struct MeshChangeOptions : RunOptions
{
    std::string input, output;
    MeshClip clip;
    MeshFinish finish;
    bool strict = false;
    uint32 threads = 0;

    std::vector<std::string*> inputs() { return {&input}; }
    std::vector<std::string*> outputs() { return {&output}; }
};

/// IN and -o.
void addMeshChangeFiles(CLI::App& command, MeshChangeOptions& options);
/// What follows a command's own options.
void addMeshChangeOptions(CLI::App& command, MeshChangeOptions& options);
/// Settles the names of files, and rejects what contradicts itself.
void checkMeshChange(const CLI::App& command, MeshChangeOptions& options);

/// Reads the file, joins the corners of STL faces, has change(mesh, threads) change each mesh as a stage of
/// that name, and writes what became of them; afterwards tell() prints what else there is to say. Returns the
/// line of a frame. Throws Failure.
std::string changeMeshes(const MeshChangeOptions& options, const std::string& stage,
                         const std::function<void(Mesh& mesh, uint32 threads)>& change,
                         const std::function<void()>& tell);

/// Throws Failure when splitting the edges of a mesh to such a length (MeshTessellator) would not fit.
void confirmSplittingFits(const Mesh& mesh, double longest, const std::string& file);

/// Throws Failure when work on so many faces takes more memory than the machine has left; `cure` says what to
/// give instead.
void confirmFacesFit(double faces, double bytesPerFace, const std::string& file, const std::string& cure);

}  // namespace tavrix::tool
