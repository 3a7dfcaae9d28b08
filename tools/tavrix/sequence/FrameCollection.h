#pragma once

#include <string>

#include "sequence/FrameFiles.h"

namespace tavrix::tool
{

/// For a sequence of VTP files writes the collection (.pvd) that opens as one animation: all frames whose
/// files are there, whichever run made them, with their numbers as times. Returns its name, the pattern's
/// without its
/// {} ("mesh.pvd" of "mesh_{}.vtp"); empty where there is none to write. Throws Failure.
std::string collectFrames(const FrameFiles& patterns);

}  // namespace tavrix::tool
