#pragma once

#include <stdexcept>

namespace tavrix::formats
{

/// What stops the reading or writing of a file: one line that names the file and says what to do.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

}  // namespace tavrix::formats
