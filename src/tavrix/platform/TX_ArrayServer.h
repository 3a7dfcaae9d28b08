#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <span>
#include <utility>

#include <tavrix/platform/ArrayHandle.h>
#include <tavrix/platform/ArrayType.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// The process-wide store of typed, reference-counted arrays behind 32-bit handles.
///
/// An array is any copyable container with `size()`. A handle is a slot number (22 bits) and the slot's
/// generation (10 bits): a handle whose array was released is answered with "nothing", until its slot has
/// been reused 1024 times; freed slots are reused oldest first, which puts that off as long as possible.
/// Access takes constant time and no lock; creating, sharing and releasing take one short lock. Several
/// threads may use the store at once, but one array is changed or released by one thread at a time. More than
/// 2^22 - 1 live arrays throw std::length_error.
class TX_GEOMETRY_API TX_ArrayServer
{
public:
    TX_ArrayServer(const TX_ArrayServer&) = delete;
    TX_ArrayServer& operator=(const TX_ArrayServer&) = delete;

    /// The store. It is never destroyed, so that objects with static lifetime may release into it.
    static TX_ArrayServer& instance();

    /// Makes an array from the arguments, with one reference, owned by the caller.
    template <std::copyable A, class... Arguments>
    ArrayHandle create(Arguments&&... arguments)
    {
        return insert(std::make_unique<Box<A>>(std::forward<Arguments>(arguments)...));
    }

    /// The array, or null when the handle is none or stale, or names an array of another type. The array
    /// stays where it is until its last reference is released.
    template <class A>
    A* get(ArrayHandle handle) const noexcept
    {
        AnyBox* box = find(handle);
        return box && isSameType(*box->type, arrayType<A>()) ? &static_cast<Box<A>*>(box)->array : nullptr;
    }

    /// Takes one more reference and returns the same handle (a shallow copy); none when there is no such
    /// array.
    ArrayHandle share(ArrayHandle handle) noexcept;

    /// Gives one reference back; the last one destroys the array. False when there is no such array.
    bool release(ArrayHandle handle) noexcept;

    /// A new array of the same type and contents (a deep copy), with one reference; none when there is no
    /// such array.
    ArrayHandle copy(ArrayHandle handle);

    /// Copies the contents of `source` into `destination`. False, and nothing copied, unless both exist and
    /// have one type.
    bool copyContents(ArrayHandle destination, ArrayHandle source);

    /// A new array of the same type, with one reference, that holds the groups of `stride` elements with
    /// these numbers. goOn() is asked every some thousand groups. None when it answers false, when there is
    /// no such array, or when its container knows no resize and no index.
    ArrayHandle gather(ArrayHandle source, std::span<const uint32> numbers, uint32 stride,
                       const std::function<bool()>& goOn);

    /// Exchanges the contents of two arrays. False, and nothing done, unless both exist and have one type.
    bool swapContents(ArrayHandle a, ArrayHandle b);

    /// Number of elements of the array; 0 when there is no such array.
    uint32 size(ArrayHandle handle) const noexcept;

    /// Number of references to the array; 0 when there is no such array.
    uint32 referenceCount(ArrayHandle handle) const noexcept;

    /// Number of arrays that live now.
    uint32 arrayCount() const noexcept;

private:
    struct AnyBox
    {
        explicit AnyBox(const std::type_info& arrayType) noexcept : type(&arrayType) {}
        virtual ~AnyBox() = default;
        virtual std::unique_ptr<AnyBox> clone() const = 0;
        virtual void assign(const AnyBox& other) = 0;
        virtual void swap(AnyBox& other) = 0;
        virtual std::unique_ptr<AnyBox> gather(std::span<const uint32> numbers, uint32 stride,
                                               const std::function<bool()>& goOn) const = 0;
        virtual uint32 size() const noexcept = 0;

        const std::type_info* type;
    };

    template <class A>
    struct Box final : AnyBox
    {
        template <class... Arguments>
        explicit Box(Arguments&&... arguments)
            : AnyBox(arrayType<A>()), array(std::forward<Arguments>(arguments)...)
        {
        }
        std::unique_ptr<AnyBox> clone() const override { return std::make_unique<Box>(array); }
        void assign(const AnyBox& other) override { array = static_cast<const Box&>(other).array; }
        void swap(AnyBox& other) override { std::swap(array, static_cast<Box&>(other).array); }
        std::unique_ptr<AnyBox> gather(std::span<const uint32> numbers, uint32 stride,
                                       const std::function<bool()>& goOn) const override
        {
            if constexpr (requires(A to, const A from) {
                              to.resize(0u);
                              to[0] = from[0];
                          })
            {
                auto gathered = std::make_unique<Box>();
                gathered->array.resize(static_cast<uint32>(numbers.size() * stride));
                for (std::size_t n = 0; n < numbers.size(); ++n)
                {
                    if (n % 0x10000 == 0 && !goOn()) return nullptr;
                    for (uint32 e = 0; e < stride; ++e)
                        gathered->array[n * stride + e] = array[std::size_t{numbers[n]} * stride + e];
                }
                return gathered;
            }
            else
                return nullptr;
        }
        uint32 size() const noexcept override { return static_cast<uint32>(array.size()); }

        A array;
    };

    struct Slot;
    struct State;

    TX_ArrayServer();
    ~TX_ArrayServer() = default;

    ArrayHandle insert(std::unique_ptr<AnyBox> box);
    AnyBox* find(ArrayHandle handle) const noexcept;
    Slot* findSlot(ArrayHandle handle) const noexcept;

    State* _state;
};

}  // namespace tavrix
