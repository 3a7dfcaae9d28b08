// A field from particles, here a single one, and its value between the nodes.
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
    return inside && value > 0 ? 0 : 1;
}
