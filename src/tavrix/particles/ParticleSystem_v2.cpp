#include <tavrix/particles/ParticleSystem_v2.h>

#include <algorithm>
#include <iostream>

#include <tavrix/particles/detail/ParticleStorage.h>
#include <tavrix/particles/ParticleSystem_v3.h>

namespace tavrix
{

ParticleSystem_v2::ParticleSystem_v2() : _storage(std::make_shared<detail::ParticleStorage>())
{
    addChannel("position", ParticleChannel_v2::Type::Vector3F);
    addChannel("velocity", ParticleChannel_v2::Type::Vector3F);
}

ParticleSystem_v2::ParticleSystem_v2(const ParticleSystem_v2& other)
    : _storage(other._storage),
      _bbox(other._bbox),
      _particlesArray(other._particlesArray),
      _arrayRevision(other._arrayRevision)
{
}

ParticleSystem_v2& ParticleSystem_v2::operator=(const ParticleSystem_v2& other)
{
    if (this == &other) return *this;
    _particlesArray = other._particlesArray;
    _arrayRevision = other._arrayRevision;
    _bbox = other._bbox;
    _storage = other._storage;
    return *this;
}

ParticleSystem_v2::~ParticleSystem_v2() = default;

bool ParticleSystem_v2::empty() const noexcept { return _storage->particleCount == 0; }

uint32 ParticleSystem_v2::getParticlesCount() const noexcept { return _storage->particleCount; }

uint32 ParticleSystem_v2::getChunksCount() const noexcept { return _storage->chunks.size(); }

uint16 ParticleSystem_v2::getChunkSize(uint32 i) const noexcept
{
    if (i >= getChunksCount()) return 0;
    return std::next(_storage->chunks.begin(), i)->getSize();
}

const List<ParticleSystemChunk_v2>& ParticleSystem_v2::getChunks() const noexcept { return _storage->chunks; }

Particle_v2 ParticleSystem_v2::addParticle()
{
    const Particle_v2 particle = addParticle(_storage->greatestParticleId + 1);
    _storage->greatestParticleId = particle.getId();  // lower only after 2^64 - 1
    return particle;
}

Particle_v2 ParticleSystem_v2::addParticle(uint64 id)
{
    ParticleSystemChunk_v2* chunk = getChunkWithFreeEntries();
    if (!chunk) chunk = &*createChunk()->value;
    const Particle_v2 particle = chunk->addParticle(id);
    _storage->index.outdate();
    ++_storage->particleCount;
    ++_storage->revision;
    if (chunk->getFreeCount() == 0) updateMapChunksWithFreeEntries(false, *chunk);
    particle.setAllChannels_toDefaultValues();
    _storage->greatestParticleId = std::max(_storage->greatestParticleId, id);
    return particle;
}

ParticleSystem_v2::ChunkNode* ParticleSystem_v2::createChunk()
{
    ParticleSystemChunk_v2 chunk;
    addChannels(chunk);
    ChunkNode* node = _storage->chunks.push_back(std::move(chunk));
    try
    {
        addChunkWithFreeEntries(*node->value);
    }
    catch (...)
    {
        destroyChunk(node);
        throw;
    }
    return node;
}

Particle_v2 ParticleSystem_v2::find(uint64 id)
{
    for (ChunkNode* node = _storage->index.firstFor(_storage->chunks, id); node; node = node->next)
    {
        ParticleSystemChunk_v2& chunk = *node->value;
        const int32 position = chunk.findInChunk(id);
        if (position >= 0) return chunk.getParticle(static_cast<uint32>(position));
    }
    return Particle_v2::dirty();
}

bool ParticleSystem_v2::remove(uint64 id)
{
    for (ChunkNode* node = _storage->index.firstFor(_storage->chunks, id); node; node = node->next)
    {
        ParticleSystemChunk_v2& chunk = *node->value;
        const int32 position = chunk.findInChunk(id);
        if (position < 0) continue;

        updateMapChunksWithFreeEntries(chunk.getSize() > 1, chunk);
        chunk.releaseEntry(static_cast<uint32>(position));
        --_storage->particleCount;
        ++_storage->revision;
        if (chunk.getSize() != 0)
            chunk.sortChunkById();
        else
            destroyChunk(node);
        return true;
    }
    return false;
}

void ParticleSystem_v2::clear()
{
    while (_storage->chunks.head()) destroyChunk(_storage->chunks.head());
    _storage->greatestParticleId = 0;
    _storage->particleCount = 0;
    ++_storage->revision;
    _particlesArray.clear();
    ParticleSystemChunk_v2::refNextChunkId() = 0;
}

/// The node keeps the emptied chunk until it is used again, so that handles and iterators on it stay safe.
void ParticleSystem_v2::destroyChunk(ChunkNode* node) noexcept
{
    _storage->index.outdate();
    removeChunkWithFreeEntries(node->value->getId());
    node->value->destroy();
    _storage->chunks.erase(node);
}

void ParticleSystem_v2::addChunkWithFreeEntries(ParticleSystemChunk_v2& chunk)
{
    _storage->chunksWithFreeEntries.try_emplace(chunk.getId(), &chunk);
}

void ParticleSystem_v2::removeChunkWithFreeEntries(uint32 chunkId) noexcept
{
    _storage->chunksWithFreeEntries.erase(chunkId);
}

/// The one of the smallest id; null when there is none.
ParticleSystemChunk_v2* ParticleSystem_v2::getChunkWithFreeEntries() const noexcept
{
    const auto& chunks = _storage->chunksWithFreeEntries;
    return chunks.empty() ? nullptr : chunks.begin()->second;
}

void ParticleSystem_v2::updateMapChunksWithFreeEntries(bool hasFree, ParticleSystemChunk_v2& chunk)
{
    if (hasFree)
        addChunkWithFreeEntries(chunk);
    else
        removeChunkWithFreeEntries(chunk.getId());
}

ParticleSystemRawIterationInfo_v2 ParticleSystem_v2::begin_rawIteration()
{
    ParticleSystemRawIterationInfo_v2 counts;
    counts.reserve(getChunksCount());
    for (ParticleSystemChunk_v2& chunk : _storage->chunks)
    {
        if (!chunk.isSlotOrdered()) ++_storage->revision;
        chunk.compactChunk();
        counts.push_back(chunk.getSize());
    }
    return counts;
}

ParticleChannelDataId_v2 ParticleSystem_v2::getChannelDataId() const
{
    ParticleChannelDataId_v2 chunks;
    chunks.reserve(getChunksCount());
    for (const ParticleSystemChunk_v2& chunk : _storage->chunks) chunks.push_back(&chunk);
    return chunks;
}

/// The index is noIndex at the end, as for every iterator there.
void ParticleSystem_v2::findFirstNotReleasedEntry(IteratorList<ParticleSystemChunk_v2>& chunk,
                                                  uint32& index) const
{
    for (chunk = _storage->chunks.begin(); chunk.getNode(); ++chunk)
        for (index = 0; index < chunk->getEntries().size(); ++index)
            if (!chunk->getEntries()[index].released) return;
    index = noIndex;
}

const Array<Particle_v2>& ParticleSystem_v2::getParticlesArray()
{
    if (_arrayRevision != _storage->revision) createParticlesArray();
    return _particlesArray;
}

void ParticleSystem_v2::createParticlesArray()
{
    const uint32 count = getParticlesCount();
    if (count != _particlesArray.capacity()) _particlesArray.reserve(count, false);
    _particlesArray.clear();
    detail::forEachEntry(_storage->chunks,
                         [this](const ParticleSystemChunk_v2& chunk, const ParticleEntry& entry) {
                             _particlesArray.push_back({entry.id, entry.slot, &chunk.getChannels()});
                         });
    _arrayRevision = _storage->revision;
}

void ParticleSystem_v2::addParticles(const ParticleSystem_v3& particles)
{
    const Array<Vector3F>& positions = particles.getArrPosition();
    const Array<Vector3F>& velocities = particles.getArrVelocity();
    const Array<int64>& ids = particles.getArrId();
    for (uint32 i = 0; i < positions.size(); ++i)
    {
        const Particle_v2 particle = addParticle(i < ids.size() ? static_cast<uint64>(ids[i]) : i);
        particle.setChannelValue(0, positions[i]);
        if (i < velocities.size()) particle.setChannelValue(1, velocities[i]);
    }
}

void ParticleSystem_v2::copyTo(ParticleSystem_v3& particles) const
{
    const Array<uint64> ids = getIds();
    Array<int64> signedIds(ids.size());
    std::transform(ids.begin(), ids.end(), signedIds.begin(),
                   [](uint64 id) { return static_cast<int64>(id); });
    Array<Vector3F> positions(ids.size(), Vector3F{0, 0, 0});
    Array<Vector3F> velocities = positions;
    copyChannelValues(0, positions);
    copyChannelValues(1, velocities);
    particles.setArrId(signedIds);
    particles.setArrPosition(positions);
    particles.setArrVelocity(velocities);
}

void ParticleSystem_v2::print() const
{
    const char* rule = "------------------------------------------------------";
    std::cout << rule << std::endl
              << "Number of chunks: " << getChunksCount() << std::endl
              << "Number of chunks with free entries: " << _storage->chunksWithFreeEntries.size() << std::endl
              << "Number of particles: " << getParticlesCount() << std::endl
              << rule << std::endl;
}

void ParticleSystem_v2::setParticles_RL(Particles_RL_v2* renderObject)
{
    if (renderObject != _renderObject.get()) _renderObject.reset(renderObject);
}

void ParticleSystem_v2::initializeRenderObject()
{
    if (!_renderObject) _renderObject.reset(FactoryOwnerT<Particles_RL_factory_v2>::getFactory().create());
}

void ParticleSystem_v2::render() const
{
    if (_renderObject) _renderObject->render(*this);
}

void ParticleSystem_v2::render(const Color4F& color) const
{
    if (_renderObject) _renderObject->render(*this, color);
}

// Where an iterator begins and ends is the system's to say, so these two lie here.

void ParticleSystemConstIterator_v2::setBegin(const ParticleSystem_v2& system)
{
    _system = &system;
    system.findFirstNotReleasedEntry(_chunk, _index);
}

void ParticleSystemConstIterator_v2::setEnd(const ParticleSystem_v2& system)
{
    _system = &system;
    _chunk = system.getChunks().end();
    _index = noIndex;
}

}  // namespace tavrix
