#pragma once

#include <optional>
#include <string>
#include <vector>

#include <tavrix/implicit/SolidCombination.h>

#include "commands/MeshClip.h"
#include "commands/MeshFinish.h"
#include "formats/FieldFile.h"
#include "preview/View.h"
#include "sequence/FrameByFrame.h"

namespace tavrix::tool
{

/// A solid that the first is combined with: a mesh, particles or a field file.
struct OtherSolid
{
    SolidOperation operation;
    std::string file;
};

/// What `tavrix levelset` was asked for; what is absent has a default that fits the input. Names of files
/// that are not wanted are empty.
struct LevelSetOptions : RunOptions
{
    std::string input;      ///< a mesh or particles
    std::string loadField;  ///< instead of these
    std::string output, saveField;
    formats::FieldLayout layout = formats::FieldLayout::Regular;

    std::vector<OtherSolid> others;  ///< in their order

    std::optional<double> spacing;
    std::optional<double> radius;
    bool isUnsigned = false;

    std::optional<Box3D> crop;  ///< of particles
    MeshClip clip;
    MeshFinish finish;

    double offset = 0;  ///< outwards
    std::optional<double> shell;
    bool redistance = false;
    bool fillCavities = false;

    bool normals = true;
    bool strict = false;
    std::string preview;
    PreviewOptions picture;

    uint32 threads = 0;

    std::vector<std::string*> inputs()
    {
        std::vector<std::string*> names{&input, &loadField};
        for (OtherSolid& other : others) names.push_back(&other.file);
        return names;
    }
    std::vector<std::string*> outputs() { return {&output, &saveField, &preview}; }
    const std::string& source() const { return loadField.empty() ? input : loadField; }
    bool reshapes() const { return offset != 0 || shell; }
};

}  // namespace tavrix::tool
