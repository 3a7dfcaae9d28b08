// A field from particles, here a single one, its value between the nodes, and a flow that carries it along.
#include <cstdio>

#include <tavrix/tavrix.h>

using namespace tavrix;

int main()
{
    ScalarField3<float, double> field;
    field.reset(65, 65, 65, 1.0 / 16);                                 // nodes 1/16 apart, around the origin
    field.setMetaballField({Vector3F{0, 0, 0}}, {1.0f}, 2.0f, 60.0f);  // it reaches 2
    const auto [inside, value] = field.evalSafe({0.5, 0, 0});
    std::printf("%g at half the radius\n", value);

    Vector3Field3<float, double> flow, curl;  // turning about an axis beside the particle
    flow.reset(field.getGrid());
    for (uint32 m = 0; m < flow.size(); ++m)
        flow.set(m,
                 {static_cast<float>(-field.getPoint(m).y), static_cast<float>(field.getPoint(m).x - 1), 0});
    flow.curl(curl, 2);
    advect(field, steadyVelocity(flow), 0, 0.5);
    const auto moved = field.evalSafe({1 - 0.878, -0.479, 0});  // cos and sin of the angle of 0.5
    std::printf("a curl of %g, and %g where it went\n", curl.get(32, 32, 32).z, moved.b);
    return inside && value > 0 && moved.b > value ? 0 : 1;
}
