#include <tavrix/platform/TX_ArrayServer.h>

#include <array>
#include <atomic>
#include <mutex>
#include <stdexcept>

namespace tavrix
{

namespace
{

constexpr uint32 slotBits = 22;
constexpr uint32 pageBits = 10;
constexpr uint32 pageSize = 1u << pageBits;
constexpr uint32 pageCount = 1u << (slotBits - pageBits);
constexpr uint32 slotMask = (1u << slotBits) - 1;
/// The last slot number stays unused: with the last generation it would spell "none".
constexpr uint32 slotLimit = slotMask;

constexpr uint32 slotOf(ArrayHandle handle) { return handle.value & slotMask; }
constexpr uint32 nextGeneration(uint32 handle) { return handle + (1u << slotBits); }

}  // namespace

/// A slot is live when `box` is set. `handle` already names the next array when the slot is free. Both are
/// atomic because a thread with a stale handle may look while another one fills the slot.
struct TX_ArrayServer::Slot
{
    std::atomic<uint32> handle;
    std::atomic<AnyBox*> box;
    uint32 references;
    uint32 nextFree;
};

/// Slots live in pages that never move, so that access needs no lock. Everything but the page table and the
/// two atomics of a slot is guarded by the mutex.
struct TX_ArrayServer::State
{
    std::array<std::atomic<Slot*>, pageCount> pages{};
    std::mutex mutex;
    uint32 usedSlots = 0;
    uint32 liveSlots = 0;
    uint32 firstFree = noIndex;
    uint32 lastFree = noIndex;

    Slot& slot(uint32 index) const
    {
        return pages[index >> pageBits].load(std::memory_order_acquire)[index & (pageSize - 1)];
    }

    uint32 takeFreeSlot()
    {
        if (firstFree == noIndex) return takeNewSlot();
        const uint32 index = firstFree;
        firstFree = slot(index).nextFree;
        if (firstFree == noIndex) lastFree = noIndex;
        return index;
    }

    uint32 takeNewSlot()
    {
        if (usedSlots == slotLimit) throw std::length_error("tavrix::TX_ArrayServer: too many arrays");
        std::atomic<Slot*>& page = pages[usedSlots >> pageBits];
        if (!page.load(std::memory_order_relaxed)) page.store(newPage(usedSlots), std::memory_order_release);
        return usedSlots++;
    }

    static Slot* newPage(uint32 firstIndex)
    {
        auto* page = new Slot[pageSize];
        for (uint32 i = 0; i < pageSize; ++i)
        {
            page[i].handle.store(firstIndex + i, std::memory_order_relaxed);
            page[i].box.store(nullptr, std::memory_order_relaxed);
        }
        return page;
    }

    void appendFreeSlot(uint32 index)
    {
        slot(index).nextFree = noIndex;
        (firstFree == noIndex ? firstFree : slot(lastFree).nextFree) = index;
        lastFree = index;
    }
};

TX_ArrayServer::TX_ArrayServer() : _state(new State) {}

TX_ArrayServer& TX_ArrayServer::instance()
{
    static auto* server = new TX_ArrayServer;
    return *server;
}

ArrayHandle TX_ArrayServer::insert(std::unique_ptr<AnyBox> box)
{
    const std::lock_guard lock(_state->mutex);
    Slot& slot = _state->slot(_state->takeFreeSlot());
    slot.references = 1;
    slot.box.store(box.release(), std::memory_order_release);
    ++_state->liveSlots;
    return {slot.handle.load(std::memory_order_relaxed)};
}

TX_ArrayServer::Slot* TX_ArrayServer::findSlot(ArrayHandle handle) const noexcept
{
    if (handle.isNone()) return nullptr;
    const uint32 index = slotOf(handle);
    Slot* page = _state->pages[index >> pageBits].load(std::memory_order_acquire);
    if (!page) return nullptr;
    Slot& slot = page[index & (pageSize - 1)];
    return slot.handle.load(std::memory_order_acquire) == handle.value ? &slot : nullptr;
}

TX_ArrayServer::AnyBox* TX_ArrayServer::find(ArrayHandle handle) const noexcept
{
    const Slot* slot = findSlot(handle);
    return slot ? slot->box.load(std::memory_order_acquire) : nullptr;
}

ArrayHandle TX_ArrayServer::share(ArrayHandle handle) noexcept
{
    const std::lock_guard lock(_state->mutex);
    if (!find(handle)) return {};
    ++findSlot(handle)->references;
    return handle;
}

bool TX_ArrayServer::release(ArrayHandle handle) noexcept
{
    std::unique_ptr<AnyBox> last;
    const std::lock_guard lock(_state->mutex);
    AnyBox* box = find(handle);
    if (!box) return false;
    Slot& slot = *findSlot(handle);
    if (--slot.references != 0) return true;
    last.reset(box);
    slot.box.store(nullptr, std::memory_order_release);
    slot.handle.store(nextGeneration(handle.value), std::memory_order_release);
    _state->appendFreeSlot(slotOf(handle));
    --_state->liveSlots;
    return true;
}

ArrayHandle TX_ArrayServer::copy(ArrayHandle handle)
{
    const AnyBox* box = find(handle);
    return box ? insert(box->clone()) : ArrayHandle{};
}

bool TX_ArrayServer::copyContents(ArrayHandle destination, ArrayHandle source)
{
    AnyBox* to = find(destination);
    const AnyBox* from = find(source);
    if (!to || !from || !isSameType(*to->type, *from->type)) return false;
    if (to != from) to->assign(*from);
    return true;
}

ArrayHandle TX_ArrayServer::gather(ArrayHandle source, std::span<const uint32> numbers, uint32 stride,
                                   const std::function<bool()>& goOn)
{
    const AnyBox* box = find(source);
    std::unique_ptr<AnyBox> gathered = box ? box->gather(numbers, stride, goOn) : nullptr;
    return gathered ? insert(std::move(gathered)) : ArrayHandle{};
}

bool TX_ArrayServer::swapContents(ArrayHandle a, ArrayHandle b)
{
    AnyBox* first = find(a);
    AnyBox* second = find(b);
    if (!first || !second || !isSameType(*first->type, *second->type)) return false;
    if (first != second) first->swap(*second);
    return true;
}

uint32 TX_ArrayServer::size(ArrayHandle handle) const noexcept
{
    const AnyBox* box = find(handle);
    return box ? box->size() : 0;
}

uint32 TX_ArrayServer::referenceCount(ArrayHandle handle) const noexcept
{
    const std::lock_guard lock(_state->mutex);
    return find(handle) ? findSlot(handle)->references : 0;
}

uint32 TX_ArrayServer::arrayCount() const noexcept
{
    const std::lock_guard lock(_state->mutex);
    return _state->liveSlots;
}

}  // namespace tavrix
