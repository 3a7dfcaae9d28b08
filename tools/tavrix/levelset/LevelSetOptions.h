#pragma once

#include <optional>
#include <string>

#include "files/FieldFile.h"
#include "preview/View.h"

namespace tavrix::tool
{

/// What `tavrix levelset` was asked for; what is absent has a default that fits the input. Names of files
/// that are not wanted are empty.
struct LevelSetOptions
{
    std::string input;      ///< a mesh or particles
    std::string loadField;  ///< instead of these
    std::string output, saveField;
    FieldLayout layout = FieldLayout::Regular;
    bool force = false;

    std::optional<double> spacing;
    std::optional<double> radius;
    bool isUnsigned = false;

    double offset = 0;  ///< outwards
    std::optional<double> shell;
    bool redistance = false;
    bool fillCavities = false;

    bool normals = true;
    bool asciiStl = false;
    bool strict = false;
    std::string preview;
    PreviewOptions picture;

    uint32 threads = 0;
    bool quiet = false;

    const std::string& source() const { return loadField.empty() ? input : loadField; }
    bool reshapes() const { return offset != 0 || shell; }
};

}  // namespace tavrix::tool
