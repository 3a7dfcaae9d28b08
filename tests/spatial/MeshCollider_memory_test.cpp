#if !defined(_WIN32)

#include <functional>

#include <gtest/gtest.h>

#include <mesh/TestMeshes.h>
#include <tavrix/spatial/MeshCollider.h>

#include "FailingAllocations.h"

namespace tavrix
{

namespace
{

TEST(MeshColliderMemory, AFailureLeavesNothingToBeFound)
{
    const Mesh terrain = test::makeTerrain(20);
    MeshCollider large, small;
    large.create(terrain);
    small.create(test::makeTerrain(5));
    const std::function<void(MeshCollider&)> fills[] = {
        [&](MeshCollider& collider) { collider.create(terrain); },
        [&](MeshCollider& collider) { collider = large; },
    };
    for (const auto& fill : fills)
    {
        int failures = 0;
        for (bool failed = true; failed; ++failures)
        {
            ASSERT_LT(failures, 1000);
            MeshCollider collider(small);
            failed = test::failsAtAllocation(failures, [&] { fill(collider); });
            EXPECT_EQ(collider.getTree().size(), failed ? 0u : large.getTree().size()) << failures;
            EXPECT_EQ(collider.nearestPoint({0, 0, 0}).has_value(), !failed) << failures;
        }
        EXPECT_GT(failures, 10);
    }
}

}  // namespace

}  // namespace tavrix

#endif
