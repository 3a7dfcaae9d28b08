#include "ranks/SharedWriting.h"

#include <algorithm>
#include <vector>

#include "ranks/EndOfJob.h"

namespace tavrix::tool
{

namespace
{

using formats::FileLayout;
using formats::FileSection;
using formats::RecordBytes;
using formats::RecordsOf;

/// Bytes that a rank has ready before it writes.
constexpr std::size_t blockBytes = std::size_t{8} << 20;

/// Bytes at their places in a file, ascending, until they are written.
class Block
{
public:
    std::size_t room() const { return blockBytes - std::min(_bytes.size(), blockBytes); }
    /// Room for so many bytes at a place.
    char* add(uint64 place, std::size_t size)
    {
        const bool follows = !_places.empty() && static_cast<uint64>(_places.back() + _sizes.back()) == place;
        if (follows)
            _sizes.back() += static_cast<int>(size);
        else
        {
            _places.push_back(static_cast<MPI_Offset>(place));
            _sizes.push_back(static_cast<int>(size));
        }
        _bytes.resize(_bytes.size() + size);
        return _bytes.data() + _bytes.size() - size;
    }
    /// Writes what is there; false when some could not be written. Each rank for itself: where one meets a
    /// full disk in a collective call, implementations let the others wait for ever.
    bool write(MPI_File file)
    {
        bool isWell = true;
        const char* from = _bytes.data();
        for (std::size_t n = 0; n < _places.size() && isWell; ++n)
        {
            MPI_Status status;
            int written = 0;
            isWell = MPI_File_write_at(file, _places[n], from, _sizes[n], MPI_BYTE, &status) == MPI_SUCCESS &&
                     MPI_Get_count(&status, MPI_BYTE, &written) == MPI_SUCCESS && written == _sizes[n];
            from += _sizes[n];
        }
        _places.clear();
        _sizes.clear();
        _bytes.clear();
        return isWell;
    }

private:
    std::vector<char> _bytes;
    std::vector<MPI_Offset> _places;
    std::vector<int> _sizes;
};

/// A file that all ranks write.
class SharedFile
{
public:
    SharedFile(MpiRanks& ranks, const std::string& path) : _ranks(ranks)
    {
        _isWell = MPI_File_open(ranks.communicator(), path.c_str(), MPI_MODE_CREATE | MPI_MODE_WRONLY,
                                MPI_INFO_NULL, &_file) == MPI_SUCCESS;
        _isOpen = _isWell;
        _isWell = isWellOnAll();
    }
    SharedFile(const SharedFile&) = delete;
    SharedFile& operator=(const SharedFile&) = delete;
    ~SharedFile()
    {
        if (_isOpen) MPI_File_close(&_file);
    }

    /// Whether all ranks have been able to write so far. Collective.
    bool isWellOnAll() const
    {
        double failed = _isWell ? 0 : 1;
        _ranks.largest({&failed, 1});
        return failed == 0;
    }

    /// Room for bytes at a place, behind what was there before.
    char* add(uint64 place, std::size_t size) { return _block.add(place, size); }
    std::size_t room() const { return _block.room(); }

    /// Writes what the ranks have added; false when one could not, or no rank goes on. Collective.
    bool flush(bool goesOn)
    {
        if (_isOpen) _isWell &= _block.write(_file);
        double states[] = {_isWell ? 0.0 : 1.0, goesOn ? 1.0 : 0.0};
        _ranks.largest(states);
        _isWell = states[0] == 0;
        return _isWell && states[1] > 0;
    }

    /// Closes the file, and says whether all was well on all ranks. Collective.
    bool close(uint64 size)
    {
        MPI_Offset is = 0;
        _isWell &= MPI_File_get_size(_file, &is) == MPI_SUCCESS && static_cast<uint64>(is) == size;
        _isWell &= MPI_File_close(&_file) == MPI_SUCCESS;
        _isOpen = false;
        return isWellOnAll();
    }

private:
    MpiRanks& _ranks;
    MPI_File _file = MPI_FILE_NULL;
    Block _block;
    bool _isOpen, _isWell;
};

/// What of a layout one rank writes, from the front to the back of the file.
class OwnRecords
{
public:
    OwnRecords(const FileLayout& layout, const formats::NumberedMesh& mesh, const RankMesh& part,
               bool writesText, SharedFile& file)
        : _layout(layout), _mesh(mesh), _part(part), _writesText(writesText), _file(file)
    {
    }

    /// Writes all, as the other ranks do theirs; false when one could not.
    bool run()
    {
        uint64 place = 0;
        for (const FileSection& section : _layout.sections)
        {
            addText(section.before, place);
            place += section.before.size();
            addRecords(section, place);
            const bool isOfFaces = section.of == RecordsOf::Faces;
            place += uint64{isOfFaces ? _part.faceCount : _part.vertexCount} * section.recordBytes;
        }
        addText(_layout.after, place);
        while (_goesOn) flush(false);
        return _file.isWellOnAll() && _file.close(place + _layout.after.size());
    }

private:
    /// Writes what is there; `has` says whether this rank has more.
    void flush(bool has) { _goesOn = _file.flush(has); }

    void addText(const std::string& text, uint64 place)
    {
        if (!_writesText || text.empty() || !_goesOn) return;
        std::copy(text.begin(), text.end(), _file.add(place, text.size()));
    }

    void addRecords(const FileSection& section, uint64 place)
    {
        const bool isOfFaces = section.of == RecordsOf::Faces;
        for (const MeshRun& run : isOfFaces ? _part.faceRuns : _part.vertexRuns)
            for (uint32 done = 0; done < run.count && _goesOn;)
            {
                const std::size_t fit = _file.room() / section.recordBytes;
                const auto count = static_cast<uint32>(std::min<std::size_t>(run.count - done, fit));
                const uint64 number = run.number + done;
                if (count > 0)
                {
                    RecordBytes to(
                        _file.add(place + number * section.recordBytes, count * section.recordBytes));
                    for (uint32 n = 0; n < count; ++n)
                        section.put(to, _mesh, run.first + done + n, number + n);
                }
                done += count;
                if (done < run.count) flush(true);
            }
    }

    const FileLayout& _layout;
    const formats::NumberedMesh& _mesh;
    const RankMesh& _part;
    const bool _writesText;
    SharedFile& _file;
    bool _goesOn = true;
};

}  // namespace

bool writeShared(MpiRanks& ranks, const std::string& path, const FileLayout& layout,
                 const formats::NumberedMesh& mesh, const RankMesh& part)
{
    SharedFile file(ranks, path);
    // closing takes all ranks, so that none may leave alone
    return orEndOfJob(
        path,
        [&] { return file.isWellOnAll() && OwnRecords(layout, mesh, part, ranks.isFirst(), file).run(); });
}

}  // namespace tavrix::tool
