#include "surface/ShareReading.h"

#include <optional>
#include <variant>

#include "commands/ParticleCrop.h"
#include "run/Failure.h"

namespace tavrix::tool
{

namespace
{

using formats::ParticleFile;

/// How many of so many particles each rank gets.
std::vector<uint32> shareCounts(uint64 count, uint32 ranks)
{
    std::vector<uint32> counts;
    for (uint64 r = 0; r < ranks; ++r)
        counts.push_back(static_cast<uint32>(count * (r + 1) / ranks - count * r / ranks));
    return counts;
}

/// The attributes of the first rank for all, of which they have no values yet.
void agreeOnAttributes(MpiRanks& ranks, ParticleFile& file)
{
    std::string text;
    for (const formats::PointAttribute& attribute : file.attributes)
        text += (std::holds_alternative<Array<float>>(attribute.values) ? "1" : "3") + attribute.name + '\0';
    text = ranks.broadcast(text);
    if (ranks.isFirst()) return;
    for (std::size_t begin = 0, end; (end = text.find('\0', begin)) != std::string::npos; begin = end + 1)
    {
        formats::PointAttribute attribute{text.substr(begin + 1, end - begin - 1), {}};
        if (text[begin] == '1')
            attribute.values = Array<float>();
        else
            attribute.values = Array<Vector3F>();
        file.attributes.push_back(std::move(attribute));
    }
}

/// Deals out what the first rank has read.
ParticleFile scattered(MpiRanks& ranks, ParticleFile file)
{
    int64 counts[] = {file.positions.size(), file.velocities.size()};
    ranks.sum(counts);
    const std::vector<uint32> shares = shareCounts(static_cast<uint64>(counts[0]), ranks.size());
    agreeOnAttributes(ranks, file);
    ParticleFile share{ranks.scatter(file.positions, shares), {}, {}, file.leftOut};
    if (counts[1] > 0) share.velocities = ranks.scatter(file.velocities, shares);
    for (const formats::PointAttribute& attribute : file.attributes)
        std::visit(
            [&](const auto& values) {
                share.attributes.push_back({attribute.name, ranks.scatter(values, shares)});
            },
            attribute.values);
    return share;
}

/// Keeps the particles in the box of --crop; false when none is.
bool crop(ParticleFile& file, const Box3D& box, const std::string& path)
{
    try
    {
        cropParticles(file, box, path);
        return true;
    }
    catch (const Failure&)
    {
        file.positions.clear();
        file.velocities.clear();
        for (formats::PointAttribute& attribute : file.attributes)
            std::visit([](auto& values) { values.clear(); }, attribute.values);
        return false;
    }
}

ParticleFile read(const std::string& path, MpiRanks& ranks)
{
    double isShared = 0;
    ParticleFile file{};
    ranks.together(
        [&]
        {
            if (!ranks.isFirst()) return;
            isShared = formats::statedParticles(path) ? 1 : 0;
            if (isShared == 0) file = formats::readParticlesIfAny(path);
        });
    ranks.largest({&isShared, 1});
    if (isShared == 0) return scattered(ranks, std::move(file));
    ranks.together([&] { file = formats::readParticleShare(path, ranks.rank(), ranks.size()); });
    return file;
}

}  // namespace

formats::ParticleFile readShare(const SurfaceOptions& options, MpiRanks& ranks)
{
    ParticleFile file = read(options.input, ranks);
    int64 counts[] = {file.positions.size(), file.leftOut};
    ranks.sum(counts);
    file.leftOut = static_cast<uint32>(counts[1]);
    if (counts[0] == 0) formats::failWithoutParticles(options.input, static_cast<uint64>(counts[1]));
    if (!options.crop) return file;
    int64 inside = crop(file, *options.crop, options.input) ? 1 : 0;
    ranks.sum({&inside, 1});
    if (inside == 0) throw Failure(options.input + ": no particle lies in the box of --crop");
    return file;
}

}  // namespace tavrix::tool
