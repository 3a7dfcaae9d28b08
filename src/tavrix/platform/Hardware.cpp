#include <tavrix/platform/Hardware.h>

#include <cstdio>
#include <cstdlib>
#include <thread>

#if defined(_WIN32)
#include <windows.h>
// psapi.h needs windows.h first
#include <psapi.h>
#endif

namespace tavrix
{

namespace
{

#if defined(__linux__)
/// The number after `key` in a file of "Key:   number kB" lines, in MiB; 0 when absent.
double readKilobytes(const char* path, const char* key) noexcept
{
    std::FILE* file = std::fopen(path, "r");
    if (!file) return 0.0;
    char line[256];
    unsigned long long kilobytes = 0;
    while (std::fgets(line, sizeof line, file))
    {
        const char* text = line;
        const char* name = key;
        while (*name && *text == *name) ++text, ++name;
        if (*name != '\0' || *text != ':') continue;
        kilobytes = std::strtoull(text + 1, nullptr, 10);
        break;
    }
    std::fclose(file);
    return static_cast<double>(kilobytes) / 1024.0;
}
#endif

}  // namespace

Hardware::MemoryInfo Hardware::getMemoryInfo() noexcept
{
    MemoryInfo info{};
#if defined(__linux__)
    info.process = readKilobytes("/proc/self/status", "VmRSS");
    info.processPeak = readKilobytes("/proc/self/status", "VmHWM");
    info.available = readKilobytes("/proc/meminfo", "MemAvailable");
#elif defined(_WIN32)
    constexpr double mebibyte = 1024.0 * 1024.0;
    PROCESS_MEMORY_COUNTERS counters{};
    if (K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters))
    {
        info.process = static_cast<double>(counters.WorkingSetSize) / mebibyte;
        info.processPeak = static_cast<double>(counters.PeakWorkingSetSize) / mebibyte;
    }
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof memory;
    if (GlobalMemoryStatusEx(&memory)) info.available = static_cast<double>(memory.ullAvailPhys) / mebibyte;
#endif
    return info;
}

uint32 Hardware::getThreadCount() noexcept
{
    const unsigned count = std::thread::hardware_concurrency();
    return count ? static_cast<uint32>(count) : 1u;
}

}  // namespace tavrix
