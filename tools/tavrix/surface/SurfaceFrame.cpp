#include "surface/SurfaceFrame.h"

#include <algorithm>
#include <variant>

#include <tavrix/mesh/Mesh.h>
#include <tavrix/particles/ParticleNeighbours.h>
#include <tavrix/platform/Hardware.h>

#include "commands/BlockMemory.h"
#include "commands/GridMemory.h"
#include "commands/ParticleCrop.h"
#include "commands/RadiusOrEstimate.h"
#include "formats/FileName.h"
#include "formats/MeshFile.h"
#include "formats/OutputFile.h"
#include "formats/ParticleFile.h"
#include "preview/Picture.h"
#include "preview/Render.h"
#include "run/Failure.h"
#include "run/Interrupt.h"
#include "run/Text.h"

namespace tavrix::tool
{

namespace
{

bool wantsNormals(const SurfaceOptions& options)
{
    return options.surface.normals && formats::holdsNormals(options.output);
}

/// What is to be said of strays where work is too much: each has a surface of its own, so that they are the
/// reason where they are many beside the others.
std::string strayHint(const ReconstructionReport& report, const Array<Vector3F>& positions)
{
    if (report.status != ReconstructionStatus::TooLarge) return {};
    constexpr uint32 least = 2, partThatCounts = 20;
    const ReconstructionSettings& settings = report.settings;
    if (settings.leastNeighbours >= least) return {};
    const uint32 strays = findStrays(positions, 2 * *settings.radius, least, settings.threadCount).size() -
                          report.leftOut.size();
    if (strays < report.particles / partThatCounts) return {};
    return formatted("%u of its %u particles are strays, which --min-neighbours %u leaves out, or ", strays,
                     report.particles, least);
}

/// The radius of a report as the program keeps it.
float radiusOf(const ReconstructionReport& report) { return static_cast<float>(*report.settings.radius); }

void draw(const Mesh& mesh, const Array<Vector3F>& positions, const ReconstructionReport& report,
          const SurfaceOptions& options, const Box3D& box, const std::string& file)
{
    PreviewOptions picture = options.picture;
    picture.threads = report.settings.threadCount;
    const float r = radiusOf(report);
    const Vector3D radius{r, r, r};
    const View view = viewOf({box.min - radius, box.max + radius}, picture);
    std::vector<Picture> pictures;
    if (options.previewParticles) pictures.push_back(renderParticles(positions, r, view, picture));
    pictures.push_back(renderMesh(mesh, view, picture));
    savePng(sideBySide(pictures), file);
}

/// Throws the Failure that the file has no such attribute, with those that it has.
[[noreturn]] void failWithoutAttribute(const std::string& file, const std::string& name,
                                       const formats::ParticleFile& particles)
{
    std::string known;
    for (const formats::PointAttribute& attribute : particles.attributes)
        known += (known.empty() ? "" : ", ") + attribute.name;
    throw Failure(file + ": its particles have no attribute " + name +
                  (known.empty() ? "; they have none" : "; they have " + known));
}

bool isVelocity(const std::string& name) { return name == "velocity" || name == "Velocity"; }

/// Takes the particles that the reconstruction left out off the list.
void leaveOut(Array<Vector3F>& positions, const Array<uint32>& numbers)
{
    if (numbers.empty()) return;
    uint32 kept = numbers[0];
    for (uint32 n = kept, next = 0; n < positions.size(); ++n)
        if (next < numbers.size() && numbers[next] == n)
            ++next;
        else
            positions[kept++] = positions[n];
    positions.resize(kept);
}

/// Bytes that may still be taken: of those that the user grants the program, less what it has, or of the
/// machine's; frames that are made at once share it.
uint64 grantedMemory(const SurfaceOptions& options)
{
    const uint32 jobs = options.isFrame ? options.sequence.jobs : 1;
    if (!options.surface.memory) return availableMemory() / jobs;
    const double taken = Hardware::getMemoryInfo().process * 1024 * 1024;
    const double left = static_cast<double>(*options.surface.memory) - taken;
    return static_cast<uint64>(std::max(left, 0.0)) / jobs;
}

/// Whether there is a smoothing step, for which nothing else has to be settled.
bool smooths(const ReconstructionSettings& settings)
{
    return settings.smoothing ? *settings.smoothing > 0 : settings.kernel != SurfaceKernel::Distance;
}

}  // namespace

std::size_t stageCount(const SurfaceOptions& options)
{
    std::size_t count = 4;
    for (const bool isTaken :
         {smooths(options.surface), options.surface.weldTolerance.has_value(), options.surface.fillCavities,
          options.surface.decimation.has_value(), wantsNormals(options),
          formats::holdsVelocities(options.output), !options.preview.empty()})
        count += isTaken ? 1 : 0;
    return count;
}

ReconstructionSettings frameSettings(const SurfaceOptions& options)
{
    ReconstructionSettings settings = options.surface;
    settings.normals = wantsNormals(options);
    settings.threadCount = threadsFor(options.surface.threadCount, options);
    settings.memory = grantedMemory(options);
    return settings;
}

std::vector<ParticleAttribute> wantedAttributes(const SurfaceOptions& options,
                                                const formats::ParticleFile& particles)
{
    std::vector<ParticleAttribute> wanted;
    if (formats::holdsVelocities(options.output) && !particles.velocities.empty())
        wanted.push_back({"Velocity", &particles.velocities});
    const auto& names = options.attributes;
    const bool isAll = std::count(names.begin(), names.end(), "all") > 0;
    const auto add = [&](const formats::PointAttribute& attribute) {
        std::visit(
            [&](const auto& values) {
                wanted.push_back({attribute.name, &values});
            },
            attribute.values);
    };
    for (const formats::PointAttribute& attribute : particles.attributes)
        if (isAll || std::count(names.begin(), names.end(), attribute.name) > 0) add(attribute);
    for (const std::string& name : names)
    {
        const bool isThere =
            std::any_of(wanted.begin(), wanted.end(),
                        [&](const ParticleAttribute& attribute) { return attribute.name == name; });
        if (name == "all" || isThere || (isVelocity(name) && !particles.velocities.empty())) continue;
        failWithoutAttribute(options.input, name, particles);
    }
    return wanted;
}

void confirmDone(const ReconstructionReport& report, const std::string& file, const std::string& hint)
{
    const ReconstructionSettings& settings = report.settings;
    switch (report.status)
    {
        case ReconstructionStatus::Done:
            return;
        case ReconstructionStatus::AllAreStrays:
            throw Failure(file + ": every particle has fewer than " +
                          std::to_string(settings.leastNeighbours) +
                          " neighbours within two radii; lower --min-neighbours or give a larger --radius");
        case ReconstructionStatus::NoRadius:
            failWithoutRadius(file);
        case ReconstructionStatus::TooWide:
            failTooWide(report.box, settings.reach(), *settings.spacing, file,
                        " --min-neighbours 1 leaves out what lies alone.");
        case ReconstructionStatus::TooLarge:
            failTooLarge(report.bytes, static_cast<double>(*settings.memory), *settings.spacing, file, hint);
        case ReconstructionStatus::NoSurface:
            throw Failure(
                file +
                formatted(": no surface at level %.4g, the field's values go from 0 to %.4g; try a --level "
                          "between or a smaller --spacing",
                          settings.level, report.highestLevel));
        case ReconstructionStatus::NothingIsLeft:
            throw Failure(file + ": the tolerance leaves no faces; give a smaller one");
        case ReconstructionStatus::NoParticles:
        case ReconstructionStatus::Stopped:
            break;
    }
    throw Failure("interrupted");
}

FrameReport finishFrame(const SurfaceOptions& options, formats::ParticleFile& particles,
                        ReconstructionReport report, Mesh made, Progress& progress)
{
    ArrayOfPtr<Mesh> meshes;
    meshes.push_back(new Mesh(std::move(made)));
    Mesh& mesh = *meshes[0];
    clipMeshes(meshes, options.clip, options.input, progress);
    if (!options.preview.empty())
    {
        const StageScope stage(progress, "preview");
        if (!report.settings.normals) mesh.recalculateNormalsParallelized(report.settings.threadCount);
        leaveOut(particles.positions, report.leftOut);
        draw(mesh, particles.positions, report, options, options.viewBox.value_or(report.box),
             options.preview);
    }
    progress.begin("write");
    finishAndWrite(meshes, options.finish, options.output, progress);
    progress.end();
    const bool moves = mesh.findArray<Vector3F>("Velocity") != nullptr;
    return {std::move(report), particles.leftOut, mesh.getPosSize(), mesh.getFacesSize(), moves};
}

FrameReport runFrame(const SurfaceOptions& options, Progress& progress)
{
    progress.begin("read");
    formats::ParticleFile particles = formats::readParticleFile(options.input);
    const ReconstructionSettings settings = frameSettings(options);
    if (options.crop) cropParticles(particles, *options.crop, options.input);
    const std::vector<ParticleAttribute> attributes = wantedAttributes(options, particles);
    Mesh mesh;
    ReconstructionReport report =
        reconstructSurface(particles.positions, mesh, settings, attributes, progressTo(progress));
    confirmDone(report, options.input, strayHint(report, particles.positions));
    return finishFrame(options, particles, std::move(report), std::move(mesh), progress);
}

}  // namespace tavrix::tool
