#pragma once

#include <string>
#include <vector>

#include "preview/View.h"
#include "sequence/SequenceRun.h"

namespace CLI
{
class App;
class Option;
}  // namespace CLI

namespace tavrix::tool
{

// Options that several commands have, described once. Each returns the option where a command adds to it.

/// The extensions of files that may be read as meshes or as particles.
const std::vector<std::string>& inputExtensions();

/// What a command reads, with the formats, and what else is to be said of it.
/// @{
std::string particleFileText(const std::string& more = "");
std::string meshFileText();
std::string anyFileText(const std::string& more = "");
/// @}

/// -o for a mesh file, or a folder for one; and --format.
CLI::Option* addMeshOutput(CLI::App& command, std::string& output,
                           const std::string& description = "Mesh file to write, needed");
/// --format, of the file that goes into an output folder.
void addFormat(CLI::App& command);
/// --strict.
void addStrict(CLI::App& command, bool& strict);
/// --normals and --no-normals.
void addNormals(CLI::App& command, bool& normals);
/// --fill-cavities.
CLI::Option* addFillCavities(CLI::App& command, bool& fillCavities);
/// -q.
CLI::Option* addQuiet(CLI::App& command, bool& quiet, const std::string& description = "Print errors only");
/// -t.
CLI::Option* addThreads(CLI::App& command, uint32& threads);
/// --up, the axis that points up in what is read.
void addUp(CLI::App& command, UpAxis& up);
/// --preview, under the heading "Picture".
void addPreview(CLI::App& command, std::string& preview);
/// What pictures are like, under the heading "Picture": their size, by the given name, and --up.
void addPictureArguments(CLI::App& command, const std::string& sizeName, PreviewOptions& options);

/// --first, --last, --jobs and --force, under the heading "Sequence". The last is left out where the command
/// has one of its own.
void addSequence(CLI::App& command, SequenceOptions& options, bool withForce = true);

/// --config and --save-config, which main sees to.
void addJobFile(CLI::App& command);
/// The name behind --save-config; empty without.
std::string jobFileOf(const CLI::App& command);

/// The options that were given, those left out that say not what is made but how: what a frame is made with.
std::string settingsText(const CLI::App& command);

/// Where the output is a folder, names the file in it: as the input, with the extension of --format; and what
/// folder has to be made, if one has. Throws CLI::ValidationError when --format has no use.
void nameInFolder(const CLI::App& command, const std::string& input, std::string& output,
                  std::string& newFolder);

// What commands check when all options are read; each throws CLI::ValidationError.

/// An option that was given though it has no effect, with the reason.
void refuse(const CLI::App& command, const std::string& option, bool isUseless, const std::string& reason);
/// {} in some names but not in all; options of sequences without one.
void checkFrames(const CLI::App& command, const FrameFiles& files);
/// Options of pictures where there is none.
void refusePictureOptions(const CLI::App& command, bool hasPicture);
/// Options of mesh formats other than the output's.
void refuseFormatOptions(const CLI::App& command, const std::string& output);

}  // namespace tavrix::tool
