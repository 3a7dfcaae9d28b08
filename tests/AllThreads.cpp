// Tests look for what threads change in small inputs, which in earnest would not be shared among threads.

#include <tavrix/foundation/detail/Polling.h>

namespace
{

[[maybe_unused]] const bool areThreadsWorth = (tavrix::detail::countThreadsAsWorth(true), true);

}  // namespace
