#pragma once

#include <string>

#include "run/Failure.h"

namespace tavrix::tool
{

/// Prints one line and ends the job, on all ranks, with exit status 1: for what one rank alone meets, while
/// the others wait for it.
[[noreturn]] void endJob(const std::string& message);

/// What the exception says that is being handled, behind the name of the file.
std::string exceptionText(const std::string& file);

/// What work() returns; what it throws besides Failures, which all ranks throw, ends the job.
template <class Work>
auto orEndOfJob(const std::string& file, const Work& work) -> decltype(work())
{
    try
    {
        return work();
    }
    catch (const Failure&)
    {
        throw;
    }
    catch (...)
    {
        endJob(exceptionText(file));
    }
}

}  // namespace tavrix::tool
