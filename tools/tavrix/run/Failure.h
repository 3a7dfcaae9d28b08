#pragma once

#include <stdexcept>

namespace tavrix::tool
{

/// What stops a command: one line that names the file and says what to do. The program prints it and exits
/// with 1.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

}  // namespace tavrix::tool
