#pragma once

#include <string>
#include <vector>

#include "preview/View.h"

namespace CLI
{
class App;
class Option;
}  // namespace CLI

namespace tavrix::tool
{

// Options that several commands have, described once. Each returns the option where a command adds to it.

/// "a, b or c" of extensions, each with its dot.
std::string extensionText(const std::vector<std::string>& extensions);
/// The extensions of mesh files that can be read, as text.
std::string meshFormatsText();
/// -o for a mesh file; the formats follow the description.
CLI::Option* addMeshOutput(CLI::App& command, std::string& output, const std::string& description);
/// --ascii.
void addAscii(CLI::App& command, bool& ascii);
/// --normals and --no-normals.
void addNormals(CLI::App& command, bool& normals);
/// --strict.
void addStrict(CLI::App& command, bool& strict);
/// --fill-cavities.
CLI::Option* addFillCavities(CLI::App& command, bool& fillCavities);
/// -q.
CLI::Option* addQuiet(CLI::App& command, bool& quiet, const std::string& description = "Print errors only");
/// -t.
CLI::Option* addThreads(CLI::App& command, uint32& threads);
/// --preview, under the heading "Picture".
void addPreview(CLI::App& command, std::string& preview);
/// What pictures are like, under the heading "Picture": their size, by the given name, and --up.
void addPictureArguments(CLI::App& command, const std::string& sizeName, PreviewOptions& options);

}  // namespace tavrix::tool
