#include <tavrix/particles/ParticleSystemIterator_v2.h>

#include <tavrix/particles/ParticleSystem_v2.h>

namespace tavrix
{

ParticleSystemIterator_v2::~ParticleSystemIterator_v2() = default;

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

Particle_v2 ParticleSystemConstIterator_v2::operator*() const
{
    const bool atEntry = _chunk.getNode() && _index < _chunk->getEntries().size();
    return atEntry ? _chunk->getParticle(_index) : Particle_v2::dirty();
}

ParticleSystemConstIterator_v2& ParticleSystemConstIterator_v2::operator++()
{
    while (_chunk.getNode())
    {
        // A chunk that went with its last particle has no entries: the walk ends there too.
        if (_chunk->getEntries().size() < 2) break;
        if (++_index >= _chunk->getEntries().size())
        {
            _index = 0;
            ++_chunk;
            if (!_chunk.getNode()) break;
        }
        if (!_chunk->getEntries()[_index].released) return *this;
    }
    _chunk = {_chunk.getList(), nullptr};
    _index = noIndex;
    return *this;
}

}  // namespace tavrix
