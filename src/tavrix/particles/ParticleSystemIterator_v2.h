#pragma once

#include <cstddef>
#include <iterator>

#include <tavrix/foundation/List.h>
#include <tavrix/particles/ParticleSystemChunk_v2.h>

namespace tavrix
{

class ParticleSystem_v2;

/// Walks over the live particles of a system, chunk after chunk, in the order of each chunk's entries: by id
/// after a lookup or a removal, by slot after compaction. Dereferencing gives a handle.
///
/// Adding particles keeps iterators valid; lookups, removals and compaction change the order under them. One
/// whose chunk went with its last particle becomes the end when it is moved on, and is dirty until then. It
/// must not be used when the system, and all copies of it, are gone.
class TX_GEOMETRY_API ParticleSystemConstIterator_v2
{
public:
    /// What algorithms ask for.
    /// @{
    using value_type = Particle_v2;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::input_iterator_tag;
    using pointer = void;
    using reference = Particle_v2;
    /// @}

    /// At the first live particle.
    explicit ParticleSystemConstIterator_v2(const ParticleSystem_v2& system) { setBegin(system); }
    /// At the end.
    ParticleSystemConstIterator_v2(const ParticleSystem_v2& system, TX_END) { setEnd(system); }

    /// Puts the iterator at the first live particle, or at the end, of a system.
    /// @{
    void setBegin(const ParticleSystem_v2& system);
    void setEnd(const ParticleSystem_v2& system);
    /// @}

    /// The dirty particle at the end.
    Particle_v2 operator*() const;
    /// On to the next live particle. From a chunk with fewer than two entries the iterator goes to the end,
    /// even when more chunks follow: this must stay.
    /// @{
    ParticleSystemConstIterator_v2& operator++();
    ParticleSystemConstIterator_v2 operator++(int)
    {
        ParticleSystemConstIterator_v2 before = *this;
        ++*this;
        return before;
    }
    /// @}

    /// The same entry of the same chunk; all ends are equal.
    friend bool operator==(const ParticleSystemConstIterator_v2& a, const ParticleSystemConstIterator_v2& b)
    {
        return a._chunk == b._chunk && a._index == b._index;
    }

protected:
    /// The system, and the place: a chunk, or the list's end, and an entry in it.
    /// @{
    const ParticleSystem_v2* _system = nullptr;
    IteratorList<ParticleSystemChunk_v2> _chunk;
    uint32 _index = noIndex;
    /// @}
};

/// Walks over the live particles of a system that may be changed; otherwise as its base.
class TX_GEOMETRY_API ParticleSystemIterator_v2 : public ParticleSystemConstIterator_v2
{
public:
    /// At the first live particle, at the end, or where another iterator is.
    /// @{
    explicit ParticleSystemIterator_v2(ParticleSystem_v2& system) : ParticleSystemConstIterator_v2(system) {}
    ParticleSystemIterator_v2(ParticleSystem_v2& system, TX_END end)
        : ParticleSystemConstIterator_v2(system, end)
    {
    }
    ParticleSystemIterator_v2(const ParticleSystemIterator_v2&) = default;
    ParticleSystemIterator_v2& operator=(const ParticleSystemIterator_v2&) = default;
    /// @}
    virtual ~ParticleSystemIterator_v2();

    /// On to the next live particle, as in the base.
    /// @{
    ParticleSystemIterator_v2& operator++()
    {
        ParticleSystemConstIterator_v2::operator++();
        return *this;
    }
    ParticleSystemIterator_v2 operator++(int)
    {
        ParticleSystemIterator_v2 before = *this;
        ++*this;
        return before;
    }
    /// @}
};

}  // namespace tavrix
