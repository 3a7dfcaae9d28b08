#include "sequence/FrameCollection.h"

#include <filesystem>
#include <vector>

#include "formats/Collection.h"
#include "formats/FileName.h"
#include "sequence/FrameSequence.h"

namespace tavrix::tool
{

namespace
{

/// The pattern's name without its {}, what separates it, and the extension.
std::string collectionName(const std::string& pattern)
{
    const auto path = formats::pathOf(pattern);
    std::string stem = fillPattern(formats::utf8Of(path.stem()), "");
    while (!stem.empty() && (stem.back() == '_' || stem.back() == '.' || stem.back() == '-')) stem.pop_back();
    if (stem.empty()) stem = "frames";
    return formats::utf8Of(path.parent_path() / formats::pathOf(stem + ".pvd"));
}

}  // namespace

std::string collectFrames(const FrameFiles& patterns)
{
    if (patterns.outputs.empty()) return {};
    const std::string& pattern = patterns.outputs.front();
    if (formats::extensionOf(pattern) != "vtp") return {};
    std::vector<formats::CollectionFrame> frames;
    for (const Frame& frame : framesNamed(pattern))
        frames.push_back({fillPattern(pattern, frame.digits), static_cast<double>(frame.number)});
    if (frames.empty()) return {};
    std::string name = collectionName(pattern);
    formats::writeCollection(name, frames);
    return name;
}

}  // namespace tavrix::tool
