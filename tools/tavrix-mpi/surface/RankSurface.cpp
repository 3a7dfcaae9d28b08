#include "surface/RankSurface.h"

#include <algorithm>
#include <cstdio>

#include <tavrix/particles/ParticleSpacing.h>
#include <tavrix/platform/Hardware.h>

#include "commands/BlockMemory.h"
#include "commands/GridMemory.h"
#include "formats/ParticleFile.h"
#include "plan/Model.h"
#include "ranks/EndOfJob.h"
#include "ranks/FrameDealing.h"
#include "run/Failure.h"
#include "run/Progress.h"
#include "run/Text.h"
#include "surface/PartWriting.h"
#include "surface/ShareReading.h"
#include "surface/SurfaceFrame.h"
#include "surface/SurfaceRun.h"

namespace tavrix::tool
{

namespace
{

/// The ranks on this machine, of any group.
uint32 ranksOnMachine(const MpiRanks& world)
{
    MPI_Comm machine = MPI_COMM_NULL;
    MPI_Comm_split_type(world.communicator(), MPI_COMM_TYPE_SHARED, 0, MPI_INFO_NULL, &machine);
    const uint32 count = MpiRanks(machine).size();
    MPI_Comm_free(&machine);
    return count;
}

/// One run of the command on one rank.
class RankSurface
{
public:
    RankSurface(SurfaceOptions options, MpiRanks& world)
        : _options(std::move(options)), _world(world), _ranksHere(ranksOnMachine(world))
    {
        if (_options.surface.threadCount == 0)
            _options.surface.threadCount = std::max(Hardware::getThreadCount() / _ranksHere, 1u);
    }

    int runOne()
    {
        _world.together([&] { confirmOutputs(filesOf(_options)); });
        make(_options, _world);
        tellOfRanks();
        return 0;
    }

    int runSequence(uint32 ranksPerFrame)
    {
        FrameDealing dealing(_world, ranksPerFrame);
        Sequence sequence{filesOf(_options), _options.settings, {}, &dealing};
        dealing.ofFirst(
            [&]
            {
                findFrames(_options.input, _options.sequence.first,
                           _options.sequence.last);  // throws without
                return std::vector<std::string>();
            });
        sequence.settings += settleRadius(sequence, dealing);
        SequenceOptions options = _options.sequence;
        options.quiet = _options.quiet;
        sequence.make = [&](const FrameTask& task)
        {
            return orEndOfJob(task.files.inputs.front(),
                              [&]
                              {
                                  dealing.group().together([&] { confirmOutputs(task.files); });
                                  return make(forFrame(_options, task), dealing.group());
                              });
        };
        return tool::runSequence(options, sequence);
    }

private:
    void tellOfRanks()
    {
        double peak = Hardware::getMemoryInfo().processPeak;
        _world.largest({&peak, 1});
        auto sent = static_cast<int64>(_world.sentBytes());
        _world.sum({&sent, 1});
        if (_world.isFirst() && !_options.quiet)
            std::printf("ranks      %u, at most %.0f MiB on one; %.0f MiB sent\n", _world.size(), peak,
                        static_cast<double>(sent) / (1 << 20));
    }

    /// Refuses, before any is read, particles of which each rank's share is too many.
    void confirmShareFits(const SurfaceOptions& options, const MpiRanks& ranks) const
    {
        const auto stated = formats::statedParticles(options.input);
        if (!stated) return;
        const double bytes = leastBytes(*stated, ranks.size());
        const auto granted =
            static_cast<double>(options.surface.memory.value_or(availableMemory() / _ranksHere));
        if (bytes <= granted) return;
        const uint64 enough = ranksWithin(*stated, granted);
        throw Failure(options.input +
                      formatted(": its %u particles take %.3g GiB on each of %u ranks, and there are %.3g; ",
                                *stated, bytes / (1 << 30), ranks.size(), granted / (1 << 30)) +
                      (enough > 0 ? formatted("use %llu ranks", static_cast<unsigned long long>(enough))
                                  : "no number of ranks would do; grant more --memory"));
    }

    /// Makes one frame; returns what there is to tell.
    std::string make(const SurfaceOptions& options, MpiRanks& ranks) const
    {
        Progress progress(stageCount(options), options.quiet || !ranks.isFirst(), options.label,
                          options.bar());
        progress.begin("read");
        ranks.together(
            [&]
            {
                if (ranks.isFirst()) confirmShareFits(options, ranks);
            });
        formats::ParticleFile particles = readShare(options, ranks);
        std::vector<ParticleAttribute> attributes;
        ranks.together([&] { attributes = wantedAttributes(options, particles); });
        if (isWrittenInParts(options, ranks))
            return makeInParts(options, ranks, particles, attributes, progress);
        Mesh mesh;
        ReconstructionReport report = reconstructSurface(
            particles.positions, ranks, mesh, settingsOf(options), attributes, progressTo(progress));
        confirmDone(report, options.input, "use more ranks with less each, or ");
        std::string line;
        ranks.together(
            [&]
            {
                if (!ranks.isFirst()) return;
                const FrameReport made =
                    finishFrame(options, particles, std::move(report), std::move(mesh), progress);
                line = tellFrame(options, made, progress);
            });
        return line;
    }

    /// Makes one frame whose mesh stays with the ranks that made it, also while it is written.
    std::string makeInParts(const SurfaceOptions& options, MpiRanks& ranks,
                            const formats::ParticleFile& particles,
                            const std::vector<ParticleAttribute>& attributes, Progress& progress) const
    {
        RankMesh part;
        ReconstructionReport report = reconstructSurface(
            particles.positions, ranks, part, settingsOf(options), attributes, progressTo(progress));
        confirmDone(report, options.input, "use more ranks, or ");
        progress.begin("write");
        writeParts(options, ranks, part);
        progress.end();
        const bool moves = part.mesh.findArray<Vector3F>("Velocity") != nullptr;
        const FrameReport made{std::move(report), particles.leftOut, part.vertexCount, part.faceCount, moves};
        return ranks.isFirst() ? tellFrame(options, made, progress) : std::string();
    }

    /// Memory is each rank's; what the machine has left they share.
    ReconstructionSettings settingsOf(const SurfaceOptions& options) const
    {
        ReconstructionSettings settings = frameSettings(options);
        if (!options.surface.memory) settings.memory = availableMemory() / _ranksHere;
        return settings;
    }

    /// Settles what the radius decides by the first frame that can be read, all ranks together.
    std::string settleRadius(const Sequence& sequence, FrameDealing& dealing)
    {
        if (_options.surface.radius) return {};
        const auto list = [&]
        {
            std::vector<std::string> names;
            for (const Frame& frame : framesOnDisk(sequence)) names.push_back(frame.digits);
            return names;
        };
        for (const std::string& digits : dealing.ofFirst(list))
        {
            const SurfaceOptions frame = forFrame(_options, {digits, {}, {}});
            try
            {
                ReconstructionSettings settings = frame.surface;
                settings.radius = estimateRadius(readShare(frame, _world).positions, _world);
                if (settings.radius) return keep(settledFor(settings, {}), frame.input);
            }
            catch (const Failure&)
            {
                _world.together([] { stopIfInterrupted(); });
            }
        }
        return {};
    }

    std::string keep(const ReconstructionSettings& settings, const std::string& file)
    {
        SurfaceOptions told = _options;
        told.quiet |= !_world.isFirst();
        std::string text = keepSettings(told, settings, file);
        _options.surface = told.surface;
        return text;
    }

    SurfaceOptions _options;
    MpiRanks& _world;
    const uint32 _ranksHere;
};

}  // namespace

int runSurfaceOverRanks(SurfaceOptions options, const RankOptions& rankOptions, MpiRanks& world)
{
    world.together(
        [&]
        {
            if (world.isFirst()) makeFolder(options.folder);
        });
    const bool isOne = !isSequence(filesOf(options));
    RankSurface surface(std::move(options), world);
    return isOne ? surface.runOne() : surface.runSequence(rankOptions.ranksPerFrame.value_or(1));
}

}  // namespace tavrix::tool
