#include "sequence/FrameSequence.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <tuple>

#include "formats/FileName.h"
#include "run/Failure.h"

namespace tavrix::tool
{

namespace fs = std::filesystem;

namespace
{

constexpr const char* hole = "{}";

/// Where the file's own name has its {}; folders may have some of their own.
std::size_t holeOf(const std::string& name) { return name.find(hole, name.find_last_of("/\\") + 1); }

/// The frame that a file's name stands for, if its digits are a number.
std::optional<Frame> frameOf(const std::string& name, const std::string& prefix, const std::string& suffix)
{
    if (name.size() <= prefix.size() + suffix.size() || !name.starts_with(prefix) || !name.ends_with(suffix))
        return std::nullopt;
    Frame frame{name.substr(prefix.size(), name.size() - prefix.size() - suffix.size()), 0};
    const char* end = frame.digits.data() + frame.digits.size();
    const auto [stop, error] = std::from_chars(frame.digits.data(), end, frame.number);
    return error == std::errc() && stop == end ? std::optional(frame) : std::nullopt;
}

std::vector<Frame> framesIn(const fs::path& folder, const std::string& namePattern)
{
    const std::size_t at = namePattern.find(hole);
    const std::string prefix = namePattern.substr(0, at), suffix = namePattern.substr(at + 2);
    std::vector<Frame> frames;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (const auto frame = frameOf(formats::utf8Of(entry->path().filename()), prefix, suffix))
            frames.push_back(*frame);
    return frames;
}

}  // namespace

bool isPattern(const std::string& name) { return holeOf(name) != std::string::npos; }

std::string fillPattern(const std::string& pattern, const std::string& text)
{
    std::string filled = pattern;
    if (isPattern(pattern)) filled.replace(holeOf(filled), 2, text);
    return filled;
}

std::string paddedNumber(std::size_t number, std::size_t count)
{
    const std::string digits = std::to_string(number);
    return std::string(std::to_string(count - 1).size() - digits.size(), '0') + digits;
}

std::vector<Frame> framesNamed(const std::string& pattern)
{
    const fs::path path = formats::pathOf(pattern);
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    std::vector<Frame> frames = framesIn(folder, formats::utf8Of(path.filename()));
    std::sort(frames.begin(), frames.end(),
              [](const Frame& a, const Frame& b)
              { return std::tie(a.number, a.digits) < std::tie(b.number, b.digits); });
    return frames;
}

std::vector<Frame> findFrames(const std::string& pattern, std::optional<uint64> first,
                              std::optional<uint64> last)
{
    std::vector<Frame> frames = framesNamed(pattern);
    if (frames.empty())
        throw Failure(pattern + ": no file has such a name with a number in place of {}; check the folder");
    std::erase_if(frames, [&](const Frame& frame)
                  { return frame.number < first.value_or(0) || frame.number > last.value_or(frame.number); });
    if (frames.empty()) throw Failure(pattern + ": no frame lies between --first and --last");
    return frames;
}

std::string missingNumbers(const std::vector<Frame>& frames)
{
    constexpr uint32 mostGaps = 8;
    std::string text;
    uint32 gaps = 0;
    for (std::size_t n = 1; n < frames.size(); ++n)
    {
        const uint64 first = frames[n - 1].number + 1, last = frames[n].number;
        if (first >= last) continue;
        if (gaps++ == mostGaps) return text + " and more";
        if (gaps > 1) text += ", ";
        text += std::to_string(first);
        if (first + 1 < last) text += " to " + std::to_string(last - 1);
    }
    return text;
}

}  // namespace tavrix::tool
