#pragma once

#include <string>

#include "sequence/FrameFiles.h"

namespace tavrix::tool
{

/// What the files of a frame were made with: a small text beside the first output, `.tavrix/NAME.made`, with
/// the settings and with the names, sizes and times of the inputs.
class FrameRecord
{
public:
    /// files: of one frame. settings: whatever else says what comes out, in words.
    FrameRecord(const FrameFiles& files, const std::string& settings);

    /// Whether all outputs are there, as large as when they were made, with these settings, from inputs that
    /// have not changed since.
    bool isCurrent() const;
    /// Writes the text of the outputs that are there now. What cannot be written is no failure: the frame is
    /// then made again the next time.
    void write() const;

private:
    std::string text() const;

    const FrameFiles _files;
    std::string _made;  ///< of settings and inputs, as they were before the frame was made
    std::string _path;
};

}  // namespace tavrix::tool
