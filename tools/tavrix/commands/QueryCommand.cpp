#include "commands/Command.h"

#include <cstdio>
#include <limits>
#include <memory>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/platform/FileBufferOut.h>
#include <tavrix/spatial/AdaptiveDistance.h>
#include <tavrix/spatial/MeshCollider.h>
#include <CLI/CLI.hpp>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/QueryTable.h"
#include "files/MeshNotes.h"
#include "formats/FileKind.h"
#include "formats/MeshFile.h"
#include "formats/OutputFile.h"
#include "run/Failure.h"
#include "run/Progress.h"
#include "sequence/FrameByFrame.h"

namespace tavrix::tool
{

namespace
{

struct QueryOptions : RunOptions
{
    std::string input, output, points;
    std::vector<std::string> rays, nearest;
    std::optional<double> tolerance;
    uint32 threads = 0;
    bool distance = false, strict = false;

    std::vector<std::string*> inputs() { return {&input, &points}; }
    std::vector<std::string*> outputs() { return {&output}; }
};

CLI::Validator numbers(bool isRay)
{
    const auto check = [isRay](const std::string& text) -> std::string
    {
        const std::optional<Query> query = parseQuery(text);
        if (query && query->direction.has_value() == isRay) return "";
        return (isRay ? "must be six finite numbers with commas between them: "
                      : "must be three finite numbers with commas between them: ") +
               text;
    };
    return CLI::Validator(check, "", "");
}

std::vector<Query> askedQueries(const QueryOptions& options)
{
    std::vector<Query> queries;
    for (const auto* texts : {&options.rays, &options.nearest})
        for (const std::string& text : *texts) queries.push_back(*parseQuery(text));
    if (options.points.empty()) return queries;
    const std::vector<Query> more = readQueries(options.points);
    queries.insert(queries.end(), more.begin(), more.end());
    return queries;
}

/// Rays and points apart, each in one batch.
std::vector<Answer> answerAll(const MeshCollider& collider, const std::vector<Query>& queries, uint32 threads)
{
    std::vector<Ray3D> rays;
    std::vector<Vector3D> points;
    for (const Query& query : queries)
        if (query.direction)
            rays.push_back({query.origin, *query.direction});
        else
            points.push_back(query.origin);
    constexpr double anywhere = std::numeric_limits<double>::infinity();
    Array<MeshPoint> hits, nearest;
    Array<uint8> inside;
    collider.castRays(rays, hits, anywhere, threads);
    collider.nearestPoints(points, nearest, anywhere, threads);
    collider.areInside(points, inside, threads);

    std::vector<Answer> answers;
    uint32 ray = 0, point = 0;
    for (const Query& query : queries)
    {
        const MeshPoint& found = query.direction ? hits[ray++] : nearest[point];
        const bool isInside = !query.direction && inside[point++] != 0;
        answers.push_back({found.face == noIndex ? std::nullopt : std::optional(found), isInside});
    }
    return answers;
}

std::string distancesOf(const QueryOptions& options, const MeshCollider& collider,
                        const std::vector<Query>& queries, uint32 threads)
{
    std::vector<Vector3D> points;
    points.reserve(queries.size());
    for (const Query& query : queries)
    {
        if (query.direction) throw Failure(options.points + ": has rays, which --distance does not answer");
        points.push_back(query.origin);
    }
    Array<double> distances;
    if (options.tolerance)
        signedDistances(collider, points, *options.tolerance, distances, threads);
    else
        collider.signedDistances(points, distances, threads);
    return distanceTable(queries, {distances.data(), distances.size()});
}

void writeText(const std::string& path, const std::string& text)
{
    formats::writeFileWhole(path,
                            [&](const std::string& name)
                            {
                                FileBufferOut file;
                                file.open(TX_String(name));
                                file.writeBuffer(text.data(), text.size());
                                return file.close() == FileStatus::ok ? 0 : -1;
                            });
}

std::string queryOne(const QueryOptions& options)
{
    Progress progress(3, options.quiet, options.label, options.bar());
    progress.begin("read");
    const std::vector<Query> queries = askedQueries(options);
    const uint32 threads = threadsFor(options.threads, options);
    const formats::MeshFile file = readMeshes(options.input, options.strict, progress, threads);
    progress.begin("tree");
    MeshCollider collider;
    collider.create(file.meshes.size() == 1 ? *file.meshes[0] : joinMeshes(file.meshes), threads);
    progress.begin("answer");
    const std::string table = options.distance ? distancesOf(options, collider, queries, threads)
                                               : answerTable(queries, answerAll(collider, queries, threads));
    if (options.output.empty())
    {
        progress.end();
        std::fwrite(table.data(), 1, table.size(), stdout);
        return {};
    }
    writeText(options.output, table);
    progress.end();
    if (options.isFrame) return writtenText(filesOf(options), progress.totalSeconds());
    if (options.quiet) return {};
    std::printf("answers    %zu, from %u faces -> %s\n", queries.size(), collider.getMesh().getFacesSize(),
                options.output.c_str());
    return {};
}

}  // namespace

void addQueryCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<QueryOptions>();
    CLI::App* query = app.add_subcommand("query", "Tell where rays hit a mesh, and what is near or inside");
    query->add_option("MESH", options->input, meshFileText())
        ->required()
        ->check(anyFile(formats::meshExtensions()))
        ->option_text(" ");
    query->add_option("--ray", options->rays, "Origin and direction of a ray; repeatable")
        ->check(numbers(true))
        ->allow_extra_args(false)
        ->option_text("OX,OY,OZ,DX,DY,DZ");
    query->add_option("--nearest", options->nearest, "A point to find the nearest of; repeatable")
        ->check(numbers(false))
        ->allow_extra_args(false)
        ->option_text("X,Y,Z");
    query
        ->add_option("--points", options->points,
                     "Text file (CSV) with a query in each line: three numbers are a point, six a ray")
        ->check(anyFile())
        ->option_text("FILE");
    query->add_flag("--distance", options->distance,
                    "Tell the signed distances of the points alone: negative inside");
    query
        ->add_option("--tolerance", options->tolerance,
                     "What --distance may be wrong by: many points are answered in a fraction of the time")
        ->check(positiveNumber)
        ->option_text("LENGTH");
    query->add_option("-o,--output", options->output, "CSV file to write; standard output when absent")
        ->check(anyFile())
        ->option_text("FILE");
    addStrict(*query, options->strict);
    addThreads(*query, options->threads);
    addQuiet(*query, options->quiet, "Print errors only, and answers");
    addSequence(*query, options->sequence);
    query->footer(
        "The answers are a table, one line a query: those of --ray, of --nearest, then of the\n"
        "file. A ray's distance is in lengths of its direction, a point's in those of the\n"
        "mesh; x, y, z is the place on the mesh, face its number from 0 on (in a file of\n"
        "several groups they count on), and a, b, c are the weights of its corners. Inside\n"
        "is 1 for points that the faces wind around. A ray that misses leaves its fields\n"
        "empty. With --distance it has the points and their distances, negative inside.\n\n"
        "Examples:\n"
        "  tavrix query part.stl --ray 0,0,10,0,0,-1 --nearest 1,2,3\n"
        "  tavrix query water.obj --points probes.csv -o answers.csv\n"
        "  tavrix query part.stl --points grid.csv --distance --tolerance 0.01 -o distances.csv");
    query->callback(
        [query, options, &command]
        {
            if (options->rays.empty() && options->nearest.empty() && options->points.empty())
                throw CLI::ValidationError("nothing is asked; give --ray, --nearest or --points");
            refuse(*query, "--ray", options->distance, "--distance is of points");
            refuse(*query, "--tolerance", !options->distance, "only --distance may be less exact");
            if (options->output.empty() && isPattern(options->input))
                throw CLI::ValidationError("--output",
                                           "is needed for a sequence, with a {} where the input has it");
            checkFrames(*query, filesOf(*options));
            options->settings = settingsText(*query);
            command = {[options] { return runFrameByFrame(*options, settleNothing, queryOne); },
                       options->input, options->output};
        });
}

}  // namespace tavrix::tool
