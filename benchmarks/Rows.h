#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace tavrix::benchmark
{

/// What a work stands beside: a peer's milliseconds for it, or those of the work that it is measured by, and
/// how many times as long it may take; 0 where nothing was set. Or mebibytes, and how many times as many.
struct Beside
{
    std::string peer;
    double number = 0;
    double goal = 0;
};

/// A row of a table of scripts/bench: a line of JSON for the file that TAVRIX_BENCH_ROWS names. Nothing
/// without one.
inline void rowOf(const char* unit, const std::string& work, double ours, const Beside& beside)
{
    const char* const path = std::getenv("TAVRIX_BENCH_ROWS");
    std::FILE* const file = path ? std::fopen(path, "a") : nullptr;
    if (!file) return;
    std::fprintf(file,
                 "{\"work\": \"%s\", \"unit\": \"%s\", \"ours\": %.6g, \"peer\": \"%s\", \"theirs\": %.6g, "
                 "\"goal\": %.4g}\n",
                 work.c_str(), unit, ours, beside.peer.c_str(), beside.number, beside.goal);
    std::fclose(file);
}
inline void row(const std::string& work, double milliseconds, const Beside& beside = {})
{
    rowOf("ms", work, milliseconds, beside);
}
inline void memoryRow(const std::string& work, double mebibytes, const Beside& beside = {})
{
    rowOf("MiB", work, mebibytes, beside);
}

/// "work, 2 threads"
inline std::string onThreads(const std::string& work, unsigned threads)
{
    return work + (threads == 1 ? ", 1 thread" : ", " + std::to_string(threads) + " threads");
}

/// The goal of what is measured on two threads beside one: 1.9 times as fast.
inline constexpr double onTwoThreads = 1 / 1.9;

}  // namespace tavrix::benchmark
