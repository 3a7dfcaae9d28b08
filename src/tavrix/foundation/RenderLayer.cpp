#include <tavrix/foundation/RenderLayer.h>

namespace tavrix
{

Service_RL::~Service_RL() = default;

}  // namespace tavrix
