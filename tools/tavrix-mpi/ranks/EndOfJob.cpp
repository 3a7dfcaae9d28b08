#include "ranks/EndOfJob.h"

#include <cstdio>
#include <exception>
#include <new>

#include <mpi.h>

namespace tavrix::tool
{

void endJob(const std::string& message)
{
    int rank = 0;
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    std::fprintf(stderr, "tavrix: rank %d: %s\n", rank, message.c_str());
    std::fflush(stderr);
    MPI_Abort(MPI_COMM_WORLD, 1);
    std::terminate();
}

std::string exceptionText(const std::string& file)
{
    try
    {
        throw;
    }
    catch (const std::bad_alloc&)
    {
        return file + ": not enough memory; use more ranks, fewer on each machine, or a larger --spacing";
    }
    catch (const std::exception& error)
    {
        return file + ": " + error.what();
    }
}

}  // namespace tavrix::tool
