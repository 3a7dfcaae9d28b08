#include <cstdio>

#include <tavrix/fields/detail/AnisotropicKernels.h>
#include <tavrix/fields/detail/SplatChange.h>
#include <tavrix/fields/ScalarField3_base.h>
#include <tavrix/platform/Hardware.h>
#include <tavrix/platform/Timer.h>

namespace tavrix
{

namespace
{

/// What the setter prints about its phases; hosts read these lines as they stand.
class Diagnostics
{
public:
    explicit Diagnostics(bool printing) : _printing(printing)
    {
        if (!_printing) return;
        printMemory();
        _whole.start();
        _phase.start();
    }

    void endPhase(const char* label)
    {
        if (!_printing) return;
        std::printf("Timing %s %f\n", label, _phase.stop());
        printMemory();
        _phase.start();
    }

    void end()
    {
        if (_printing) std::printf("Timing %s %f\n", "global", _whole.stop());
    }

private:
    void printMemory()
    {
        static constexpr const char* formats[] = {"mem info  1 %f \n", "mem info  2 %f\n", "mem info 3 %f\n",
                                                  "mem info 4 %f\n", "mem info 5 %f\n"};
        std::fprintf(stderr, formats[_memoryPoint++], Hardware::getMemoryInfo().process);
    }

    bool _printing;
    uint32 _memoryPoint = 0;
    Timer _whole, _phase;
};

/// The field from the fitted kernels; apply(change) applies it.
template <class Value, class Coord, class Apply>
bool buildAnisotropicField(ScalarField3_base<Value, Coord>& field, float margin,
                           detail::AnisotropicKernels kernels, uint32 threadCount, CancelCallback callback,
                           Diagnostics diagnostics, Apply apply)
{
    const auto cancel = [&] { return field.setZero(), false; };
    if (!kernels.measureNeighbourhoods()) return cancel();
    diagnostics.endPhase("neighbo");
    if (!kernels.fitEllipsoids()) return cancel();
    diagnostics.endPhase("Gs");
    if (!kernels.fitBoxes()) return cancel();
    diagnostics.endPhase("elips bb");
    const Array<detail::Ellipsoid>& ellipsoids = kernels.ellipsoids();
    const auto ellipsoid = [&](uint32 n) { return ellipsoids[n]; };
    const detail::EllipsoidKernel sum{detail::SplatMerge::Sum};
    if (!apply(detail::buildingBy<Value, Coord>(
            detail::SplattedParticles{sum, ellipsoids.size(), margin, threadCount, callback, ellipsoid})))
        return false;
    diagnostics.endPhase("field");
    diagnostics.end();
    return true;
}

}  // namespace

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setAnisotropyDistanceField(
    const Array<Vector3F>& positions, const Array<float>& radii, float margin, uint32 threadCount,
    CancelCallback callback) requires std::floating_point<Value>
{
    return buildAnisotropicField(*this, margin, {positions, radii, {}, threadCount, callback}, threadCount,
                                 callback, Diagnostics(true),
                                 [this](const auto& change) { return applyParticles(change); });
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::setAnisotropyDistanceField(
    const Array<Vector3F>& positions, const Array<float>& radii, float margin,
    const AnisotropySettings& settings, uint32 threadCount,
    CancelCallback callback) requires std::floating_point<Value>
{
    return buildAnisotropicField(*this, margin, {positions, radii, settings, threadCount, callback},
                                 threadCount, callback, Diagnostics(false),
                                 [this](const auto& change) { return applyParticles(change); });
}

#define TX_INSTANTIATE(Value, Coord)                                                           \
    template bool ScalarField3_base<Value, Coord>::setAnisotropyDistanceField(                 \
        const Array<Vector3F>&, const Array<float>&, float, uint32, CancelCallback);           \
    template bool ScalarField3_base<Value, Coord>::setAnisotropyDistanceField(                 \
        const Array<Vector3F>&, const Array<float>&, float, const AnisotropySettings&, uint32, \
        CancelCallback);
TX_FOR_EACH_REAL_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
