#include <tavrix/meshproc/MeshFairing.h>

#include <tavrix/meshproc/detail/PartFairing.h>

namespace tavrix
{

bool fairPositions(Array<Vector3D>& positions, const Array<Index3>& faces, const FairingSettings& settings,
                   CancelCallback callback)
{
    return detail::fairPart(positions, faces, {}, settings, callback);
}

}  // namespace tavrix
