#include <tavrix/platform/Thread.h>

#include <new>
#include <system_error>

#if defined(_WIN32)
#include <process.h>
#include <windows.h>
#else
#include <thread>
#endif

namespace tavrix
{

Thread::Thread() noexcept = default;

Thread::~Thread() { join(); }

#if defined(_WIN32)

struct Thread::Handle
{
    uintptr_t thread;
};

static unsigned __stdcall runBody(void* body)
{
    (*static_cast<const std::function<void()>*>(body))();
    return 0;
}

bool Thread::start(const std::function<void()>& body) noexcept
{
    std::unique_ptr<Handle> handle(new (std::nothrow) Handle);
    if (!handle) return false;
    void* argument = const_cast<void*>(static_cast<const void*>(&body));
    handle->thread = _beginthreadex(nullptr, 0, runBody, argument, 0, nullptr);
    if (handle->thread == 0) return false;
    _handle = std::move(handle);
    return true;
}

void Thread::join() noexcept
{
    if (!_handle) return;
    const auto thread = reinterpret_cast<HANDLE>(_handle->thread);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    _handle.reset();
}

#else

struct Thread::Handle
{
    std::thread thread;
};

bool Thread::start(const std::function<void()>& body) noexcept
{
    try
    {
        auto handle = std::make_unique<Handle>();
        handle->thread = std::thread(std::cref(body));
        _handle = std::move(handle);
        return true;
    }
    catch (const std::exception&)
    {
        return false;
    }
}

void Thread::join() noexcept
{
    if (!_handle) return;
    _handle->thread.join();
    _handle.reset();
}

#endif

}  // namespace tavrix
