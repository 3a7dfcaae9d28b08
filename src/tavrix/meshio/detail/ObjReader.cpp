#include <tavrix/meshio/detail/ObjReader.h>

#include <algorithm>
#include <atomic>
#include <numeric>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/meshio/detail/StatementLines.h>
#include <tavrix/meshio/detail/TextLines.h>
#include <tavrix/platform/FileBufferIn.h>

namespace tavrix::detail
{

namespace
{

constexpr std::size_t lineBufferSize = 256;

/// Into how many pieces the file is cut: some for each thread, since they take different times, and so small
/// that the arrays of one, as they grow, find room in what those of others left.
uint32 piecesOf(const TX_String& path, uint32 threadCount)
{
    constexpr uint64 bytesPerThread = 0x400000, bytesPerPiece = 0x100000;
    constexpr uint32 smallBuffer = 1, piecesPerThread = 8;
    FileBufferIn file;
    if (threadCount < 2 || file.open(path, "rb", smallBuffer) != FileStatus::ok || file.size() < 0) return 1;
    const auto bytes = static_cast<uint64>(file.size());
    const uint32 threads = threadsWorth(bytes, bytesPerThread, threadCount);
    return threads < 2 ? 1 : std::max(piecesPerThread * threads, static_cast<uint32>(bytes / bytesPerPiece));
}

}  // namespace

ObjReader::ObjReader(ObjReadingMode mode, uint32 threadCount, MeshReadingReport* report)
    : _mode(mode), _threadCount(threadCount), _report(report)
{
}

FileStatus ObjReader::read(const TX_String& path)
{
    const std::vector<FileRange> ranges = lineRanges(path, piecesOf(path, _threadCount));
    if (ranges.size() == 1) _threadCount = 1;
    _readings.resize(ranges.size());
    _before.resize(ranges.size());
    std::vector<uint32> all(ranges.size());
    std::iota(all.begin(), all.end(), 0u);
    readPieces(path, ranges, all);
    countElements();
    readPieces(path, ranges, countingBack());
    if (_report && _readings.back().piece) _report->isCut = _readings.back().isCut;
    return firstFailure();
}

/// Each worker takes the next piece that none has.
void ObjReader::readPieces(const TX_String& path, const std::vector<FileRange>& ranges,
                           const std::vector<uint32>& which)
{
    const auto workers = static_cast<uint32>(std::min<std::size_t>(_threadCount, which.size()));
    std::atomic<std::size_t> next = 0;
    parallelFor(workers, workers,
                [&](uint32, uint64, uint64)
                {
                    for (std::size_t i = next++; i < which.size(); i = next++)
                        _readings[which[i]] = readPiece(path, ranges[which[i]], _before[which[i]]);
                });
}

ObjReader::Reading ObjReader::readPiece(const TX_String& path, const FileRange& range,
                                        const ObjCounts& before) const
{
    Reading reading;
    reading.piece = std::make_unique<ObjPiece>(_mode, _report != nullptr, before);
    if (_report)
    {
        StatementLines lines;
        if (lines.open(path, range) == FileStatus::ok) reading.piece->ObjFirstPass(lines);
        reading.status = lines.status();
        reading.isCut = lines.lacksEnd() && !reading.piece->endsWhole();
    }
    else
    {
        TextLines lines(lineBufferSize - 1);
        if (lines.open(path, range) == FileStatus::ok) reading.piece->ObjFirstPass(lines);
        reading.status = lines.status();
    }
    return reading;
}

FileStatus ObjReader::firstFailure() const
{
    for (const Reading& reading : _readings)
        if (reading.status != FileStatus::ok) return reading.status;
    return FileStatus::ok;
}

void ObjReader::countElements()
{
    for (std::size_t i = 0; i + 1 < _readings.size(); ++i)
    {
        const ObjCounts here = _readings[i].piece->counts();
        _before[i + 1] = {_before[i].positions + here.positions, _before[i].textures + here.textures,
                          _before[i].normals + here.normals};
    }
}

/// The pieces behind the first whose indices count back.
std::vector<uint32> ObjReader::countingBack() const
{
    std::vector<uint32> found;
    for (uint32 i = 1; i < _readings.size(); ++i)
        if (_readings[i].piece->countsBack()) found.push_back(i);
    return found;
}

}  // namespace tavrix::detail
