#pragma once

#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Wector3.h>
#include <tavrix/mesh/detail/MeshBorder.h>
#include <tavrix/meshproc/detail/VertexRings.h>

namespace tavrix::detail
{

/// A response of the umbrella operator as a Chebyshev series.
using Coefficients = std::vector<float>;

/// Of n half passes, h = (1 - m / 2)^n: `h`, or with what the same again gives back, 1 - (1 - h)^2.
enum class PassResponse
{
    Plain,
    GivenBack
};

/// How many terms the series of the response to so many passes needs.
uint32 termsFor(uint32 passes);
/// The first terms of the series, by as many cosine sums.
Coefficients responseOf(uint32 passes, PassResponse response, uint32 terms);

/// One result of a filter: at each vertex the response that it is assigned.
struct FilterOutput
{
    std::vector<Coefficients> responses;
    Array<uint8> assigned;   ///< to each vertex; the same response to neighbours
    Array<Wector3F> values;  ///< what the filter adds to the values
};

/// Filters values at the vertices, given by what one pass of the umbrella operator A adds to them, A v - v;
/// several responses at once. Vertices without a ring keep their value. All responses
/// that are assigned have so many terms. By the Chebyshev recurrence on what is
/// added, for which single precision suffices. Copies have what their owners add, but the output means
/// nothing for them. Linear in vertices and terms. False, on all ranks, when the polling stopped one.
bool filterRings(const VertexRings& rings, const MeshBorder& border, const Array<Wector3F>& umbrella,
                 uint32 terms, const std::vector<FilterOutput*>& outputs, uint32 threadCount,
                 Polling& polling);

}  // namespace tavrix::detail
