#include "../platform/NumberOracle.h"
#include "Choices.h"
#include "Fuzz.h"

using namespace tavrix;
using fuzz::require;

// The bytes as text, as float, as double and as integer, each against the standard library.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    require(test::readsAsStrtof(text), "a number read");
    require(test::readsAsStrtoll(text), "an integer read");
    const auto single = fuzz::Choices(data, size).raw<float>();
    require(std::strtof(test::shortest(single).c_str(), nullptr) == single || std::isnan(single),
            "a number that reads back");
    const auto number = fuzz::Choices(data, size).raw<double>();
    require(test::fixed6(number) == test::printed("%f", number), "six decimals");
    const auto integer = fuzz::Choices(data, size).raw<uint64>();
    char buffer[maxUIntLength];
    require(std::string(buffer, printUInt(buffer, integer)) == std::to_string(integer), "digits");
    return 0;
}
