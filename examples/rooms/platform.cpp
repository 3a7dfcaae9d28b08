// A number as the shortest text that reads back as the same number, on every machine and in every locale.
#include <cstdio>
#include <string_view>

#include <tavrix/tavrix.h>

using namespace tavrix;

int main()
{
    char text[maxFloatLength];
    const char* end = printFloat(text, 0.1f);
    float back = 0;
    if (parseFloat(text, end, back) != end || back != 0.1f) return 1;
    std::printf("%.*s, on %u processors\n", int(end - text), text, Hardware::getThreadCount());
    return std::string_view(text, end) == "0.1" ? 0 : 1;
}
