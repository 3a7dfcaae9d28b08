#pragma once

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// The coefficients of a step of diffuse_dissipate, and what it makes of a sample: the same expressions for
/// every storage, so that all give the same bytes.
template <class Value>
struct DiffusionStep
{
    Value a;  ///< share of the neighbours
    Value d;  ///< share that is lost
    Value min, max;

    TX_ALWAYS_INLINE Value finish(Value v) const
    {
        v = v - v * d;
        v = v < min ? min : v;
        return v > max ? max : v;
    }

    /// One explicit step of a sample, given its neighbours.
    TX_ALWAYS_INLINE Value diffuse(Value own, Value lowX, Value highX, Value lowY, Value highY, Value lowZ,
                                   Value highZ) const
    {
        const Value twice = 2 * own;
        return finish(own + a * ((highX + lowX - twice) + (highY + lowY - twice) + (highZ + lowZ - twice)));
    }

    /// One relaxation of a sample. The lower z neighbour, which is relaxed just before, comes last.
    TX_ALWAYS_INLINE Value relax(Value source, Value lowX, Value highX, Value lowY, Value highY, Value lowZ,
                                 Value highZ) const
    {
        return finish((a * (((lowX + highX) + (lowY + highY)) + highZ + lowZ) + source) / (6 * a + 1));
    }
};

/// The step of a field of so many nodes.
template <class Value>
DiffusionStep<Value> diffusionStep(uint32 nodeCount, Value timeStep, Value diffusion, Value dissipation,
                                   Value minValue, Value maxValue)
{
    const auto nodes = static_cast<float>(nodeCount);
    return {timeStep * diffusion * nodes, timeStep * dissipation, minValue, maxValue};
}

}  // namespace tavrix::detail
