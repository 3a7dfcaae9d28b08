#if !defined(_WIN32)

#include <tavrix/meshproc/Vector3Simplifier.h>

#include <functional>

#include <gtest/gtest.h>

#include "FailingAllocations.h"

namespace tavrix
{
namespace
{

TEST(Vector3SimplifierMemory, AMeshStaysAsItWasWhereverAnAllocationFails)
{
    using Simplifier = Vector3Simplifier<double>;
    const Simplifier::Positions points{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1.01, 0, 0}, {0, 0, 0}};
    const Simplifier::Triangles faces{{0, 1, 2}, {1, 3, 2}, {4, 3, 2}};
    const Simplifier::Params tolerances{0.1f, 0.2f};
    constexpr auto mode = V3S_SIMP_MODE::center;
    struct Run
    {
        Simplifier simplifier{};
        Simplifier::Positions pos;
        Simplifier::Triangles tris;
        Simplifier::Indices posDict{}, triDict{};
    };
    const std::function<void(Run&)> operations[] = {
        [&](Run& r) { r.simplifier.simplifyOverwrite(r.pos, r.tris, tolerances, mode); },
        [&](Run& r) { r.simplifier.simplifyRemovingDegenerateTrindices(r.pos, r.tris, tolerances, mode); },
        [&](Run& r) {
            r.simplifier.simplifyRemovingDegenerateFaces(r.pos, r.tris, r.posDict, r.triDict, tolerances,
                                                         mode);
        }};
    for (const auto& operation : operations)
    {
        bool failed = true;
        for (int n = 0; failed; ++n)
        {
            ASSERT_LT(n, 200);
            Run run{.pos = points, .tris = faces};
            failed = test::failsAtAllocation(n, [&] { operation(run); });
            EXPECT_EQ(run.pos == points && run.tris == faces, failed) << "allocation " << n;
            EXPECT_EQ(run.pos.size(), failed ? 5u : 3u);
        }
    }
}

}  // namespace
}  // namespace tavrix

#endif
