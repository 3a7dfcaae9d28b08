#include <tavrix/particles/ParticleSystemIterator_v2.h>

namespace tavrix
{

ParticleSystemIterator_v2::~ParticleSystemIterator_v2() = default;

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
