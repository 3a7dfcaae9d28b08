#include <algorithm>
#include <bit>
#include <cmath>

#include <tavrix/foundation/detail/Signature.h>
#include <tavrix/particles/detail/ParticleStorage.h>
#include <tavrix/particles/ParticleSystem_v2.h>

namespace tavrix
{

namespace
{

void computeMinMaxLength(const List<ParticleSystemChunk_v2>& chunks, uint32 channelId, float& min, float& max)
{
    min = farValue;
    max = -farValue;
    detail::forEachValue<Vector3F>(chunks, channelId,
                                   [&](const Vector3F& v)
                                   {
                                       const double square = static_cast<double>(dot(v, v));
                                       const float length = static_cast<float>(std::sqrt(square));
                                       min = std::min(min, length);
                                       max = std::max(max, length);
                                   });
}

void scaleVectors(const List<ParticleSystemChunk_v2>& chunks, uint32 channelId, float factor)
{
    detail::forEachValue<Vector3F>(chunks, channelId, [factor](Vector3F& v) { v *= factor; });
}

/// Calls visit(id, position, velocity) for every live particle; zeros for a channel that was removed.
template <class Visit>
void forEachState(const List<ParticleSystemChunk_v2>& chunks, const Visit& visit)
{
    for (const ParticleSystemChunk_v2& chunk : chunks)
    {
        const Vector3F* positions = chunk.getValues<Vector3F>(0);
        const Vector3F* velocities = chunk.getValues<Vector3F>(1);
        for (const ParticleEntry& entry : chunk.getEntries())
            if (!entry.released)
                visit(entry.id, positions ? positions[entry.slot] : Vector3F{0, 0, 0},
                      velocities ? velocities[entry.slot] : Vector3F{0, 0, 0});
    }
}

}  // namespace

const Box3F& ParticleSystem_v2::update_bbox()
{
    _bbox = Box3F::empty();
    detail::forEachValue<Vector3F>(_storage->chunks, 0, [this](const Vector3F& p) { _bbox.extend(p); });
    return _bbox;
}

void ParticleSystem_v2::compute_min_max_positionModule(float& min, float& max) const
{
    computeMinMaxLength(_storage->chunks, 0, min, max);
}

void ParticleSystem_v2::compute_min_max_speed(float& min, float& max) const
{
    computeMinMaxLength(_storage->chunks, 1, min, max);
}

int64 ParticleSystem_v2::computeSignature_v1() const
{
    float sum = 0;
    forEachState(_storage->chunks, [&sum](uint64 id, const Vector3F& p, const Vector3F& v)
                 { sum += ((v.y + v.x + v.z) + (p.y + p.x + p.z)) / static_cast<float>(id + 1); });
    return std::bit_cast<uint32>(sum);
}

int64 ParticleSystem_v2::computeSignature_v3() const
{
    uint64 sum = 0;
    forEachState(_storage->chunks,
                 [&sum](uint64 id, const Vector3F& p, const Vector3F& v)
                 {
                     detail::Signature signature;
                     signature.addValue(id);
                     signature.addValue(p);
                     signature.addValue(v);
                     sum += signature.value();
                 });
    return static_cast<int64>(sum);
}

uint64 ParticleSystem_v2::getMemoryUsage() const
{
    uint64 bytes = uint64{_particlesArray.capacity()} * sizeof(Particle_v2) +
                   12 * uint64{_storage->chunksWithFreeEntries.size()};
    for (const ParticleSystemChunk_v2& chunk : _storage->chunks) bytes += chunk.getMemoryUsage();
    return bytes;
}

Array<uint64> ParticleSystem_v2::getIds() const
{
    Array<uint64> ids;
    ids.reserve(getParticlesCount());
    detail::forEachEntry(_storage->chunks, [&ids](const ParticleSystemChunk_v2&, const ParticleEntry& entry)
                         { ids.push_back(entry.id); });
    return ids;
}

void ParticleSystem_v2::scaleParticlePositions(float factor) { scaleVectors(_storage->chunks, 0, factor); }

void ParticleSystem_v2::scaleParticleVelocities(float factor) { scaleVectors(_storage->chunks, 1, factor); }

void ParticleSystem_v2::scaleParticlePositionsAndVelocities(float factor)
{
    scaleParticlePositions(factor);
    scaleParticleVelocities(factor);
}

}  // namespace tavrix
