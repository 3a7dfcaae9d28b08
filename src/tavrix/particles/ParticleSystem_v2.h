#pragma once

#include <memory>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/Particles_RL_v2.h>
#include <tavrix/particles/ParticleSystemIterator_v2.h>

namespace tavrix
{

class ParticleSystem_v3;
namespace detail
{
struct ParticleStorage;
}

/// The number of live particles of each chunk, in list order: those of chunk k are elements 0 to count[k] - 1
/// of each of its channel arrays.
using ParticleSystemRawIterationInfo_v2 = Array<uint16>;
/// The chunks, in list order.
using ParticleChannelDataId_v2 = Array<const ParticleSystemChunk_v2*>;
/// What each chunk holds of one channel, in list order; null where it holds nothing.
using ParticleChannelData_v2 = Array<ParticleChannelChunkData_v2*>;

/// A container of particles, each with a 64-bit id and a value in every channel. "position" and "velocity"
/// (channels 0 and 1, Vector3F) are there from the start; hosts add others.
///
/// Particles lie in chunks of 16384. Adding one is O(1) and moves nothing; finding and removing one walks
/// over the chunks whose ids range around it, O(log 16384) each when they are sorted, which the first lookup
/// after an addition brings about. Ids are not checked: a second particle with an id that is already there
/// must stay possible, and a lookup gives either of them.
///
/// A copy refers to the same particles and channels: whatever is added, removed or written through the one is
/// there for the other too, and the storage lives as long as any of them. Only the bounding box, the
/// particles array and the render object are each one's own.
///
/// Systems, copies included, are to be used by one thread at a time. When memory runs out, std::bad_alloc
/// leaves the system as it was (addParticles: with the particles added so far; addChannel: the id consumed).
class TX_GEOMETRY_API ParticleSystem_v2
{
public:
    /// No particles, and the channels "position" and "velocity".
    ParticleSystem_v2();
    /// Shares particles and channels with the other system and copies its box and particles array; each keeps
    /// its own render object.
    /// @{
    ParticleSystem_v2(const ParticleSystem_v2& other);
    ParticleSystem_v2& operator=(const ParticleSystem_v2& other);
    /// @}
    virtual ~ParticleSystem_v2();

    /// Whether there are no live particles, how many there are, in how many chunks, and how many fit into
    /// one.
    /// @{
    bool empty() const noexcept;
    uint32 getParticlesCount() const noexcept;
    uint32 getChunksCount() const noexcept;
    static uint16 getChunkCapacity() noexcept { return ParticleSystemChunk_v2::capacity; }
    /// @}
    /// Number of live particles in the i-th chunk of the list; 0 when there is none.
    uint16 getChunkSize(uint32 i) const noexcept;
    /// The chunks, in the order in which particles are iterated over.
    const List<ParticleSystemChunk_v2>& getChunks() const noexcept;
    /// Handles on all particles, made anew, in the iteration order of that time, when particles came, went or
    /// were compacted.
    const Array<Particle_v2>& getParticlesArray();

    /// Adds a channel, every particle at the type's default value, and returns its id. 0xFFFFFFFF for a type
    /// that is none, and for a name that is taken; then, and this must stay, the id is consumed and the new
    /// record remains among the channels, so that chunks made later have values for it.
    uint32 addChannel(const TX_String& name, ParticleChannel_v2::Type type);
    /// Removes a channel and its values, "position" and "velocity" not excepted; whoever holds handles must
    /// not ask for them then. False when there is none. The record stays alive as long as the particles.
    /// @{
    bool removeChannel(uint32 id);
    bool removeChannel(const TX_String& name);
    /// @}
    /// Null when there is none.
    /// @{
    const ParticleChannel_v2* getChannel(uint32 id) const noexcept;
    const ParticleChannel_v2* getChannel(const TX_String& name) const noexcept;
    /// @}
    /// 0xFFFFFFFF when there is none.
    uint32 getChannelId(const TX_String& name) const noexcept;
    /// The channels in the order of their addition.
    const ArrayOfPtr<ParticleChannel_v2, TX_NO>& getChannels() const noexcept;
    /// Stands for the absence of a channel.
    static const ParticleChannel_v2 invalidChannel_;

    /// Adds a particle with the channels' default values. Without an id it gets the greatest that was ever
    /// added, plus one: 1, 2, 3, ... in a new or cleared system, and after 2^64 - 1 again 0, 1, 2, ...
    /// @{
    Particle_v2 addParticle();
    Particle_v2 addParticle(uint64 id);
    /// @}
    /// Removes a particle; false when there is none. A chunk that is left without any is destroyed.
    bool remove(uint64 id);
    /// The dirty particle when there is none. Sorts the chunks that it looks into.
    Particle_v2 find(uint64 id);
    /// Removes all particles; channels stay. Starts the process-wide counter of chunk ids at 0 again: this
    /// must stay.
    virtual void clear();

    /// Adds the particles of the other kind of system: ids (negative ones modulo 2^64), positions and
    /// velocities, as many as it has positions; a missing velocity is zero, a missing id the index. O(1)
    /// each.
    void addParticles(const ParticleSystem_v3& particles);
    /// Makes `particles` those of this system, in iteration order.
    void copyTo(ParticleSystem_v3& particles) const;

    /// The live particles, in the order that ParticleSystemConstIterator_v2 tells.
    /// @{
    ParticleSystemConstIterator_v2 begin() const { return ParticleSystemConstIterator_v2(*this); }
    ParticleSystemConstIterator_v2 end() const { return {*this, TX_END{}}; }
    ParticleSystemIterator_v2 begin() { return ParticleSystemIterator_v2(*this); }
    ParticleSystemIterator_v2 end() { return {*this, TX_END{}}; }
    /// @}

    /// Compacts every chunk, so that its values can be walked over as arrays (getChannelData).
    ParticleSystemRawIterationInfo_v2 begin_rawIteration();
    /// The chunks, and what each holds of a channel, to go with the counts of begin_rawIteration.
    /// @{
    ParticleChannelDataId_v2 getChannelDataId() const;
    ParticleChannelData_v2 getChannelData(uint32 id) const;
    ParticleChannelData_v2 getChannelData(const TX_String& name) const;
    /// @}

    /// The channel's values as one array, in iteration order: positions for the setters of a field, say. T is
    /// one of the twelve channel types. False, and `values` untouched, when there is no such channel or it is
    /// of another type.
    template <class T>
    bool copyChannelValues(uint32 channelId, Array<T>& values) const;
    /// Writes such an array back, in iteration order. False, and nothing written, also when it has not one
    /// value a particle.
    template <class T>
    bool setChannelValues(uint32 channelId, const Array<T>& values);
    /// The ids in iteration order.
    Array<uint64> getIds() const;

    /// The box of all positions; without any, min at the largest number and max at the smallest.
    const Box3F& update_bbox();
    /// The box that update_bbox found last.
    const Box3F& getBbox() const noexcept { return _bbox; }
    /// Least and greatest length of a position (of a velocity); 3.4028235e38 and -3.4028235e38 without
    /// particles. Squares are summed in single precision.
    /// @{
    void compute_min_max_positionModule(float& min, float& max) const;
    void compute_min_max_speed(float& min, float& max) const;
    /// @}
    /// Sum over the particles, in iteration order and single precision, of ((v.y + v.x + v.z) + (p.y + p.x +
    /// p.z)) / (id + 1); its bits are the low half of the result, the high half is 0.
    int64 computeSignature_v1() const;
    /// Changes with any bit of any position or velocity and with the ids (but for chances of 2^-64), and does
    /// not depend on the order or the chunks of the particles: the sum of a 64-bit hash of each.
    int64 computeSignature_v3() const;
    /// Bytes: of every chunk, its entries and channel arrays; of the particles array; and 12 for each chunk
    /// with free entries.
    uint64 getMemoryUsage() const;

    /// Multiplies every component by the factor. The box stays as it was.
    /// @{
    void scaleParticlePositions(float factor);
    void scaleParticleVelocities(float factor);
    void scaleParticlePositionsAndVelocities(float factor);
    /// @}

    /// Five lines on standard output: how many chunks, chunks with free entries and particles there are.
    void print() const;

    /// The render object, null until a host or initializeRenderObject supplies one; the system owns it.
    Particles_RL_v2* getParticles_RL() const noexcept { return _renderObject.get(); }
    /// Gives the system another render object, which it owns from then on; the former one is deleted.
    void setParticles_RL(Particles_RL_v2* renderObject);
    /// Lets the host's factory make a render object when there is none.
    void initializeRenderObject();
    /// Without a render object nothing is drawn.
    /// @{
    void render() const;
    void render(const Color4F& color) const;
    /// @}

private:
    friend class ParticleSystemConstIterator_v2;
    using ChunkNode = List<ParticleSystemChunk_v2>::Node;

    ChunkNode* createChunk();
    void addChannels(ParticleSystemChunk_v2& chunk) const;
    void addChunkWithFreeEntries(ParticleSystemChunk_v2& chunk);
    void removeChunkWithFreeEntries(uint32 chunkId) noexcept;
    ParticleSystemChunk_v2* getChunkWithFreeEntries() const noexcept;
    void updateMapChunksWithFreeEntries(bool hasFree, ParticleSystemChunk_v2& chunk);
    void destroyChunk(ChunkNode* node) noexcept;
    uint32 getMaxChannelId() const noexcept;
    void findFirstNotReleasedEntry(IteratorList<ParticleSystemChunk_v2>& chunk, uint32& index) const;
    void createParticlesArray();

    std::shared_ptr<detail::ParticleStorage> _storage;
    Box3F _bbox = Box3F::empty();
    Array<Particle_v2> _particlesArray;
    uint64 _arrayRevision = 0;  ///< of the storage when the array was made; it never is 0 there
    std::unique_ptr<Particles_RL_v2> _renderObject;
};

}  // namespace tavrix
