// The types of arrays that hosts without run-time type information can ask for.

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/BlockDesc.h>
#include <tavrix/foundation/Color4.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector2.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/foundation/Wector3.h>
#include <tavrix/platform/ArrayType.h>

namespace tavrix
{

#define TX_INSTANTIATE(...) \
    template TX_GEOMETRY_API const std::type_info& arrayType<Array<__VA_ARGS__>>() noexcept;
TX_INSTANTIATE(bool)
TX_INSTANTIATE(uint8)
TX_INSTANTIATE(uint16)
TX_INSTANTIATE(int32)
TX_INSTANTIATE(uint32)
TX_INSTANTIATE(int64)
TX_INSTANTIATE(uint64)
TX_INSTANTIATE(float)
TX_INSTANTIATE(double)
TX_INSTANTIATE(Vector2F)
TX_INSTANTIATE(Vector3F)
TX_INSTANTIATE(Vector3D)
TX_INSTANTIATE(Wector3F)
TX_INSTANTIATE(Color4F)
TX_INSTANTIATE(Tuple2<uint32, uint32>)
TX_INSTANTIATE(Index3)
TX_INSTANTIATE(BlockDesc)
#undef TX_INSTANTIATE

}  // namespace tavrix
