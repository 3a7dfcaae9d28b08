#include "commands/MeshClip.h"

#include <CLI/CLI.hpp>

#include <tavrix/meshproc/MeshClipping.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "run/Failure.h"
#include "run/Interrupt.h"
#include "run/Text.h"

namespace tavrix::tool
{

void addClip(CLI::App& command, MeshClip& clip)
{
    command
        .add_option_function<std::string>(
            "--clip", [&clip](const std::string& text) { clip.box = parseBox(text); },
            "Cut the mesh by this box, its lowest corner, then its highest, and leave what lies in it")
        ->check(boxCorners)
        ->option_text("X,Y,Z,X,Y,Z")
        ->group("Output");
    command.add_flag("--clip-closed", clip.isClosed, "Close the cuts, so that a solid stays one")
        ->group("Output");
}

void checkClip(const CLI::App& command, const MeshClip& clip)
{
    refuse(command, "--clip-closed", !clip.box, "closes the cuts of --clip, and there is none");
}

void clipMeshes(ArrayOfPtr<Mesh>& meshes, const MeshClip& clip, const std::string& file, Progress& progress)
{
    if (!clip.box) return;
    const StageScope stage(progress, "clip");
    uint32 faces = 0, open = 0, crossed = 0;
    for (Mesh* mesh : meshes)
    {
        const ClipReport report =
            clipMesh(*mesh, *clip.box, clip.isClosed ? ClipCut::Closed : ClipCut::Open, StageScope::poll);
        stopIfInterrupted();
        faces += mesh->getFacesSize();
        open += report.openLoops;
        crossed += report.crossedCaps;
    }
    if (faces == 0) throw Failure(file + ": nothing of its surface lies in the box of --clip");
    if (!clip.isClosed) return;
    if (open > 0) progress.note(file + formatted(": %u cuts run through borders of it and stay open", open));
    if (crossed > 0)
        progress.note(file + formatted(": %u caps touch or cross themselves and may overlap", crossed));
}

}  // namespace tavrix::tool
