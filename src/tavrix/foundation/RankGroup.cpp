#include <tavrix/foundation/RankGroup.h>

namespace tavrix
{

RankGroup::~RankGroup() = default;

}  // namespace tavrix
