#pragma once

#include <stdexcept>
#include <string>

namespace tavrix::formats
{

/// What stops the reading or writing of a file: one line that names the file and says what to do.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Throws the Failure that the file ends too early.
[[noreturn]] inline void refuseCut(const std::string& path)
{
    throw Failure(path + ": is cut off; write or copy it again");
}

}  // namespace tavrix::formats
