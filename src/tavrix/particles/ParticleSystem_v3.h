#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/TX_String.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// A plain particle set: ids, positions and velocities in three parallel arrays, and the particle BIN files
/// that hold them.
///
/// A BIN file is little-endian and packed. Its header: uint32 0x00FABADA; 250 bytes; int16 version; five
/// 4-byte fields; uint32 particle count; one 4-byte and three 12-byte fields; from version 7 on three more
/// 12-byte fields. The records follow at offset 320 (356 from version 7 on), each of them: position, velocity
/// (three float32 each); 12 bytes; version >= 9: 12 bytes; version >= 3: 12; version >= 4: 4; version >= 5:
/// 12 and 2; 28 bytes; int32 id. A record has 68 bytes before version 3, 80 at 3, 84 at 4, 98 at 5 to 8, 110
/// from 9 on. The fields without a name are skipped when reading and zero when writing.
class TX_GEOMETRY_API ParticleSystem_v3
{
public:
    /// Replace the whole array by a copy. The other two keep their sizes.
    /// @{
    void setArrId(const Array<int64>& ids);
    void setArrPosition(const Array<Vector3F>& positions);
    void setArrVelocity(const Array<Vector3F>& velocities);
    /// @}

    /// The arrays, which are parallel but need not be equally long.
    /// @{
    const Array<int64>& getArrId() const noexcept { return _ids; }
    const Array<Vector3F>& getArrPosition() const noexcept { return _positions; }
    const Array<Vector3F>& getArrVelocity() const noexcept { return _velocities; }
    /// @}

    /// Reads the particles of a BIN file and returns their number. -1: the file cannot be opened; -2: it does
    /// not begin with the magic number; both leave the particles as they were. Of a truncated file the
    /// complete records are read, none when the header is cut; memory is taken only for records that are
    /// there. Ids are sign-extended. No more than 2^31 - 1 particles are read.
    int load_BIN(const TX_String& path);
    /// Reads `count` of the records alone, from the one numbered `first` on, of as many as the header states;
    /// the same results, and -1 for a file without positions, such as a pipe. Nothing else of the file is
    /// read, so that many processes can share it out.
    int load_BIN(const TX_String& path, uint32 first, uint32 count);

    /// Writes the particles, as many as there are positions, in the layout of the given version; a velocity
    /// that is missing is written as zero, a missing id as the particle's index. Returns 0; -1: the file
    /// cannot be opened; -3: it could not be written whole; -4: an id does not fit into 32 bits, and no file
    /// is touched.
    int save_BIN(const TX_String& path, int16 version = 9) const;

private:
    Array<int64> _ids;
    Array<Vector3F> _positions;
    Array<Vector3F> _velocities;
};

}  // namespace tavrix
