#include <tavrix/reconstruction/detail/ParticleBlocks.h>

namespace tavrix::detail
{

namespace
{

constexpr uint32 bucketBits = blockShift - bucketShift;

}  // namespace

BucketKeys::BucketKeys(const BlockIndex& lastHome)
{
    for (uint32 axis = 0; axis < 3; ++axis)
        _bits[axis] = static_cast<uint32>(std::bit_width(lastHome[axis] + 1));
    const uint32 lower = _bits[2] + 3 * bucketBits, upper = _bits[0] + _bits[1];
    _count = lower + upper <= 32 ? 1 : lower <= 32 && upper <= 32 ? 2 : 4;
}

uint32 BucketKeys::operator()(uint32 number, const std::array<uint32, 3>& cell) const
{
    const BlockIndex block{cell[0] >> blockShift, cell[1] >> blockShift, cell[2] >> blockShift};
    uint32 bucket = 0;
    for (uint32 axis = 0; axis < 3; ++axis)
        bucket = bucket << bucketBits | (cell[axis] >> bucketShift & ((1u << bucketBits) - 1));
    if (_count == 4) return number == 0 ? bucket : block[3 - number];
    const uint32 upper = block[0] << _bits[1] | block[1], lower = block[2] << 3 * bucketBits | bucket;
    if (_count == 2) return number == 0 ? lower : upper;
    return upper << (_bits[2] + 3 * bucketBits) | lower;
}

}  // namespace tavrix::detail
