#pragma once

#include <string>
#include <vector>

namespace tavrix::formats
{

/// A file of a sequence and its time.
struct CollectionFrame
{
    std::string file;
    double time;
};

/// Writes a ParaView collection (.pvd), which names the files of a sequence and their times, whole or not at
/// all. Files in its folder or below are named relative to it. Throws Failure.
void writeCollection(const std::string& path, const std::vector<CollectionFrame>& frames);

}  // namespace tavrix::formats
