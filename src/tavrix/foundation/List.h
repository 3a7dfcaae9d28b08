#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <tavrix/platform/Types.h>

namespace tavrix
{

template <class T>
class IteratorList;

/// Doubly linked list whose nodes come from a pool: blocks of nodes, and a free list of returned ones.
///
/// A node stays where it is until the list dies. Erasing an element returns its node to the pool but keeps
/// the value until the node is used again, so that an iterator left behind still refers to memory of the
/// list. T has to be movable.
template <class T>
class List
{
public:
    /// One element between its neighbours, or a returned node in the free list.
    struct Node
    {
        /// The neighbours, null at the ends; in the free list `next` is the next free node.
        /// @{
        Node* previous = nullptr;
        Node* next = nullptr;
        /// @}
        std::optional<T> value;  ///< engaged from the node's first use on
    };

    List() noexcept = default;
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    /// The elements from head to tail; head and tail are null in an empty list.
    /// @{
    uint32 size() const noexcept { return _size; }
    bool empty() const noexcept { return _size == 0; }
    Node* head() const noexcept { return _head; }
    Node* tail() const noexcept { return _tail; }
    IteratorList<T> begin() const noexcept { return {this, _head}; }
    IteratorList<T> end() const noexcept { return {this, nullptr}; }
    /// @}

    /// Appends an element and returns its node; the list is unchanged when memory runs out.
    Node* push_back(T&& value)
    {
        Node* node = takeFromPool();
        node->value = std::move(value);
        node->previous = _tail;
        node->next = nullptr;
        (_tail ? _tail->next : _head) = node;
        _tail = node;
        ++_size;
        return node;
    }

    /// Takes a node of this list out; a node that is not in it must not be given.
    void erase(Node* node) noexcept
    {
        (node->previous ? node->previous->next : _head) = node->next;
        (node->next ? node->next->previous : _tail) = node->previous;
        --_size;
        node->next = std::exchange(_free, node);
    }

    /// Erases every element; the nodes stay in the pool, their values with them.
    void clear() noexcept
    {
        while (_head) erase(_head);
    }

private:
    static constexpr std::size_t blockSize = 16;

    Node* takeFromPool()
    {
        if (!_free)
        {
            _blocks.push_back(std::make_unique<Node[]>(blockSize));
            for (std::size_t i = blockSize; i-- > 0;)
                _blocks.back()[i].next = std::exchange(_free, &_blocks.back()[i]);
        }
        return std::exchange(_free, _free->next);
    }

    Node* _head = nullptr;
    Node* _tail = nullptr;
    Node* _free = nullptr;
    uint32 _size = 0;
    std::vector<std::unique_ptr<Node[]>> _blocks;
};

/// A place in a List: one of its nodes, or the end (null). It stays valid when other elements come and go.
template <class T>
class IteratorList
{
public:
    /// The names that algorithms ask for.
    /// @{
    using Node = typename List<T>::Node;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using iterator_category = std::forward_iterator_tag;
    using pointer = T*;
    using reference = T&;
    /// @}

    IteratorList() noexcept = default;
    /// The place of a node, or the end for null.
    IteratorList(const List<T>* list, Node* node) noexcept : _list(list), _node(node) {}

    /// The list, the node (null at the end) and its value, which only a place before the end has.
    /// @{
    const List<T>* getList() const noexcept { return _list; }
    Node* getNode() const noexcept { return _node; }
    T& operator*() const noexcept { return *_node->value; }
    T* operator->() const noexcept { return &*_node->value; }
    /// @}

    /// The next place; the end has none.
    /// @{
    IteratorList& operator++() noexcept
    {
        _node = _node->next;
        return *this;
    }
    IteratorList operator++(int) noexcept
    {
        IteratorList before = *this;
        ++*this;
        return before;
    }
    /// @}

    /// The same node; all ends are equal.
    friend bool operator==(const IteratorList& a, const IteratorList& b) noexcept
    {
        return a._node == b._node;
    }

private:
    const List<T>* _list = nullptr;
    Node* _node = nullptr;
};

}  // namespace tavrix
