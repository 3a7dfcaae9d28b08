#pragma once

#include <tavrix/platform/FileStatus.h>

namespace tavrix
{

/// The family of mesh file parsers: `MeshFileParser<Parser>::instance()` is the process's one parser of that
/// kind. Each parser's header declares its instance, and its source defines it.
template <class Parser>
class MeshFileParser
{
public:
    /// The parser, made at its first use.
    static Parser& instance();
};

/// What the parsers return when they fail. Success is 0 or, where a parser says so, a positive number.
enum MeshFileError : int
{
    meshFileFailed = -1,        ///< any other failure: not a file of this format, an error while reading
    meshFileCannotWrite = -3,   ///< the disk is full or gone; the file is not whole
    meshFileCannotOpen = -4,    ///< no such file or folder, or no permission
    meshFileEndsTooEarly = -5,  ///< the file promises more than it holds
    meshFileStopped = -6,       ///< the callback stopped the work; a file that was written is not whole
};

/// The parsers' return value for a file status; 0 for ok.
constexpr int meshFileResult(FileStatus status) noexcept
{
    switch (status)
    {
        case FileStatus::ok:
            return 0;
        case FileStatus::cannotOpen:
            return meshFileCannotOpen;
        case FileStatus::cannotWrite:
            return meshFileCannotWrite;
        case FileStatus::endsTooEarly:
            return meshFileEndsTooEarly;
        case FileStatus::failed:
            break;
    }
    return meshFileFailed;
}

}  // namespace tavrix
