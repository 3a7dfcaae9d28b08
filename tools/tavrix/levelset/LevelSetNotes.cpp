#include "levelset/LevelSetNotes.h"

#include "run/Failure.h"
#include "run/Text.h"

namespace tavrix::tool
{

namespace
{

void noteThinWall(const char* option, double wall, double spacing, Progress& progress)
{
    if (wall >= 2 * spacing) return;
    progress.note(
        formatted("%s makes a wall of less than two spacings, which may get holes; try --spacing %.2g",
                  option, wall / 2.5));
}

}  // namespace

void noteThinWalls(const LevelSetOptions& options, double spacing, Progress& progress)
{
    if (options.isUnsigned) noteThinWall("--offset", 2 * options.offset, spacing, progress);
    if (options.shell) noteThinWall("--shell", *options.shell, spacing, progress);
}

void noteNoCavity(const std::string& file, Progress& progress)
{
    progress.note(file + ": is nowhere thicker than --shell, so there is no cavity");
}

void failEnclosesNothing(const std::string& file)
{
    throw Failure(file +
                  ": encloses nothing at this spacing; try a smaller --spacing, or --unsigned with --offset "
                  "for a sheet");
}

void failNothingIsLeft(double offset, double depth, const std::string& file)
{
    throw Failure(
        file +
        formatted(": nothing is left at --offset %.6g, its deepest place lies %.4g inside the surface; give "
                  "one nearer to 0",
                  offset, depth));
}

}  // namespace tavrix::tool
