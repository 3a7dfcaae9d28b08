#include "surface/PartWriting.h"

#include <filesystem>

#include "formats/FileName.h"
#include "formats/MeshLayout.h"
#include "formats/OutputFile.h"
#include "ranks/EndOfJob.h"
#include "ranks/SharedWriting.h"
#include "run/Failure.h"

namespace tavrix::tool
{

namespace
{

namespace fs = std::filesystem;

bool hasLayout(const SurfaceOptions& options)
{
    const std::string extension = formats::extensionOf(options.output);
    return extension == "bin" || extension == "ply" || extension == "vtp" ||
           (extension == "stl" && !options.finish.asciiStl);
}

/// Whether a file lies there, or none: not a device or a pipe.
bool canBeFile(const std::string& path)
{
    std::error_code error;
    const fs::file_status status = fs::status(formats::pathOf(path), error);
    return !fs::exists(status) || fs::is_regular_file(status);
}

formats::FileLayout layoutOf(const formats::MeshOutline& outline, const RankMesh& part,
                             const std::string& output)
{
    const std::string extension = formats::extensionOf(output);
    if (extension == "bin") return formats::binLayout(outline, output);
    if (extension == "ply") return formats::plyLayout(outline, output);
    if (extension == "stl") return formats::stlLayout(outline, std::string(part.mesh.getName().view()));
    return formats::vtpLayout(outline, formats::isLargeVtp(part.vertexCount, part.faceCount));
}

/// Writes a file whose name the first rank knows, once that is told; none when it is empty.
bool writeTold(MpiRanks& ranks, const std::string& path, const formats::FileLayout& layout,
               const formats::NumberedMesh& mesh, const RankMesh& part)
{
    const std::string told = ranks.broadcast(path);
    return !told.empty() && writeShared(ranks, told, layout, mesh, part);
}

/// Writes the file; throws where that failed, on the first rank with the reason.
void writeTogether(const std::string& output, MpiRanks& ranks, const formats::FileLayout& layout,
                   const formats::NumberedMesh& mesh, const RankMesh& part)
{
    bool isTold = !ranks.isFirst();
    const auto write = [&](const std::string& path)
    {
        isTold = true;
        return writeTold(ranks, path, layout, mesh, part) ? 0 : -1;
    };
    try
    {
        if (ranks.isFirst())
            formats::writeFileWhole(output, write);
        else
            write({});
    }
    catch (const Failure&)
    {
        if (!isTold) write({});  // the others wait to be told
        throw;
    }
}

}  // namespace

bool isWrittenInParts(const SurfaceOptions& options, MpiRanks& ranks)
{
    double isUnfit = hasLayout(options) && !options.clip.box && !options.finish.crease ? 0 : 1;
    if (ranks.isFirst() && !canBeFile(options.output)) isUnfit = 1;
    ranks.largest({&isUnfit, 1});
    return isUnfit == 0;
}

void writeParts(const SurfaceOptions& options, MpiRanks& ranks, RankMesh& part)
{
    turnAndScale(part.mesh, options.finish);
    const formats::VertexStreams streams(part.mesh);
    double haveNormals = streams.hasNormals() ? 1 : 0;
    ranks.largest({&haveNormals, 1});
    const formats::MeshOutline outline{formats::vertexAttributes(part.mesh), haveNormals > 0,
                                       part.vertexCount, part.faceCount};
    const formats::NumberedMesh mesh(streams, outline, part.numbers);
    formats::FileLayout layout;
    ranks.together([&] { layout = layoutOf(outline, part, options.output); });
    // together by turns: what is no Failure leaves the others waiting, and ends the job
    ranks.together(
        [&]
        { orEndOfJob(options.output, [&] { writeTogether(options.output, ranks, layout, mesh, part); }); });
}

}  // namespace tavrix::tool
