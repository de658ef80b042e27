// MArray<T>: growable array; MList<T>: doubly linked list.
//
// MArray keeps its fields public (`data`, `capacity`, `count`, signed 32-bit)
// because code throughout the system reads them directly. Remove shifts the
// tail down; an index outside [0, count) throws "Index out of range.".
// MList keeps `first`, `last`, `count`; each node carries `previous` and `next`
// ahead of its payload, and the list owns its nodes.
// Both iterate with range-for (MList yields the payloads).
#pragma once

#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <new>
#include <type_traits>
#include <utility>

#include "foundation/core/exception.h"

namespace kx {

[[noreturn]] inline void ThrowIndexOutOfRange() { throw MException("Index out of range."); }

template <typename T>
class MArray {
 public:
  T* data = nullptr;
  int32_t capacity = 0;
  int32_t count = 0;

  MArray() = default;
  MArray(std::initializer_list<T> values) {
    SetCapacity(static_cast<int32_t>(values.size()));
    for (const T& value : values) Add(value);
  }
  MArray(const MArray& other) {
    SetCapacity(other.count);
    for (int32_t i = 0; i < other.count; ++i) Add(other.data[i]);
  }
  MArray(MArray&& other) noexcept { Take(other); }
  MArray& operator=(const MArray& other) {
    if (this != &other) {
      MArray copy(other);
      Free();
      Take(copy);
    }
    return *this;
  }
  MArray& operator=(MArray&& other) noexcept {
    if (this != &other) {
      Free();
      Take(other);
    }
    return *this;
  }
  ~MArray() { Free(); }

  int32_t Count() const { return count; }
  bool IsEmpty() const { return count == 0; }

  T& operator[](int32_t index) {
    CheckIndex(index);
    return data[index];
  }
  const T& operator[](int32_t index) const {
    CheckIndex(index);
    return data[index];
  }
  T& Last() { return (*this)[count - 1]; }

  // Appends and returns the new element.
  T& Add(const T& value) { return Emplace(count, value); }
  T& Add(T&& value) { return Emplace(count, std::move(value)); }
  // Inserts before `index`; `index` may equal count (append).
  T& Insert(int32_t index, const T& value) { return Emplace(index, value); }
  T& Insert(int32_t index, T&& value) { return Emplace(index, std::move(value)); }

  // Removes up to `removeCount` elements from `index` (clipped at the end) and
  // shifts the tail down; `shrink` gives unused capacity back.
  void Remove(int32_t index, int32_t removeCount = 1, bool shrink = false) {
    CheckIndex(index);
    if (removeCount <= 0) return;
    if (removeCount > count - index) removeCount = count - index;
    for (int32_t i = index; i + removeCount < count; ++i) data[i] = std::move(data[i + removeCount]);
    for (int32_t i = count - removeCount; i < count; ++i) data[i].~T();
    count -= removeCount;
    if (shrink) SetCapacity(count);
  }

  // Index of the first element equal to `value`, or -1.
  int32_t IndexOf(const T& value) const {
    for (int32_t i = 0; i < count; ++i)
      if (data[i] == value) return i;
    return -1;
  }

  void Clear(bool shrink = true) {
    for (int32_t i = 0; i < count; ++i) data[i].~T();
    count = 0;
    if (shrink) SetCapacity(0);
  }

  // Room for at least `wanted` elements; never below count.
  void Reserve(int32_t wanted) {
    if (wanted > capacity) SetCapacity(wanted);
  }

  T* begin() { return data; }
  T* end() { return data + count; }
  const T* begin() const { return data; }
  const T* end() const { return data + count; }

 private:
  void CheckIndex(int32_t index) const {
    if (index < 0 || index >= count) ThrowIndexOutOfRange();
  }

  template <typename V>
  T& Emplace(int32_t index, V&& value) {
    if (index < 0 || index > count) ThrowIndexOutOfRange();
    if (count == capacity) {
      if (capacity > INT32_MAX / 2) throw std::bad_alloc();
      // `value` may be one of our own elements: build it before moving storage.
      T held(std::forward<V>(value));
      SetCapacity(capacity < 4 ? 4 : capacity * 2);
      return Place(index, std::move(held));
    }
    return Place(index, std::forward<V>(value));
  }

  template <typename V>
  T& Place(int32_t index, V&& value) {
    if (index == count) {
      new (data + count) T(std::forward<V>(value));
    } else {
      T held(std::forward<V>(value));  // may alias an element about to move
      new (data + count) T(std::move(data[count - 1]));
      for (int32_t i = count - 1; i > index; --i) data[i] = std::move(data[i - 1]);
      data[index] = std::move(held);
    }
    ++count;
    return data[index];
  }

  void SetCapacity(int32_t wanted) {
    if (wanted < count) wanted = count;
    if (wanted == capacity) return;
    T* fresh = nullptr;
    if (wanted > 0) {
      fresh = static_cast<T*>(::operator new(sizeof(T) * static_cast<size_t>(wanted),
                                             std::align_val_t(alignof(T))));
      for (int32_t i = 0; i < count; ++i) {
        new (fresh + i) T(std::move(data[i]));
        data[i].~T();
      }
    }
    if (data) ::operator delete(data, std::align_val_t(alignof(T)));
    data = fresh;
    capacity = wanted;
  }

  void Free() {
    Clear(false);
    if (data) ::operator delete(data, std::align_val_t(alignof(T)));
    data = nullptr;
    capacity = 0;
  }

  void Take(MArray& other) {
    data = other.data;
    capacity = other.capacity;
    count = other.count;
    other.data = nullptr;
    other.capacity = 0;
    other.count = 0;
  }
};

template <typename T>
class MList {
 public:
  struct Node {
    Node* previous = nullptr;
    Node* next = nullptr;
    T value;
    template <typename... A>
    explicit Node(A&&... arguments) : value(std::forward<A>(arguments)...) {}
  };

  Node* first = nullptr;
  Node* last = nullptr;
  int32_t count = 0;

  MList() = default;
  MList(const MList& other) {
    for (const T& value : other) AddLast(value);
  }
  MList(MList&& other) noexcept { Take(other); }
  MList& operator=(const MList& other) {
    if (this != &other) {
      MList copy(other);
      Clear();
      Take(copy);
    }
    return *this;
  }
  MList& operator=(MList&& other) noexcept {
    if (this != &other) {
      Clear();
      Take(other);
    }
    return *this;
  }
  ~MList() { Clear(); }

  int32_t Count() const { return count; }
  bool IsEmpty() const { return count == 0; }

  template <typename... A>
  Node* AddLast(A&&... arguments) {
    return Link(new Node(std::forward<A>(arguments)...), last, nullptr);
  }
  template <typename... A>
  Node* AddFirst(A&&... arguments) {
    return Link(new Node(std::forward<A>(arguments)...), nullptr, first);
  }
  template <typename V>
  Node* Add(V&& value) {
    return AddLast(std::forward<V>(value));
  }
  // A new node right after `node` (null: at the front).
  template <typename... A>
  Node* InsertAfter(Node* node, A&&... arguments) {
    return Link(new Node(std::forward<A>(arguments)...), node, node ? node->next : first);
  }
  template <typename... A>
  Node* InsertBefore(Node* node, A&&... arguments) {
    return Link(new Node(std::forward<A>(arguments)...), node ? node->previous : last, node);
  }

  // Takes `node` out of the list without freeing it; the caller owns it then.
  Node* Unlink(Node* node) {
    (node->previous ? node->previous->next : first) = node->next;
    (node->next ? node->next->previous : last) = node->previous;
    node->previous = node->next = nullptr;
    --count;
    return node;
  }
  void Remove(Node* node) { delete Unlink(node); }

  // The node at `index`, counted from the front; "Index out of range." outside.
  Node* NodeAt(int32_t index) const {
    if (index < 0 || index >= count) ThrowIndexOutOfRange();
    Node* node = first;
    while (index-- > 0) node = node->next;
    return node;
  }
  T& operator[](int32_t index) { return NodeAt(index)->value; }
  const T& operator[](int32_t index) const { return NodeAt(index)->value; }

  void Clear() {
    Node* node = first;
    while (node) {
      Node* next = node->next;
      delete node;
      node = next;
    }
    first = last = nullptr;
    count = 0;
  }

  template <typename N, typename V>
  class Iterator {
   public:
    explicit Iterator(N* node) : node_(node) {}
    V& operator*() const { return node_->value; }
    V* operator->() const { return &node_->value; }
    Iterator& operator++() {
      node_ = node_->next;
      return *this;
    }
    bool operator==(const Iterator& other) const { return node_ == other.node_; }

   private:
    N* node_;
  };
  Iterator<Node, T> begin() { return Iterator<Node, T>(first); }
  Iterator<Node, T> end() { return Iterator<Node, T>(nullptr); }
  Iterator<const Node, const T> begin() const { return Iterator<const Node, const T>(first); }
  Iterator<const Node, const T> end() const { return Iterator<const Node, const T>(nullptr); }

 private:
  Node* Link(Node* node, Node* after, Node* before) {
    node->previous = after;
    node->next = before;
    (after ? after->next : first) = node;
    (before ? before->previous : last) = node;
    ++count;
    return node;
  }

  void Take(MList& other) {
    first = other.first;
    last = other.last;
    count = other.count;
    other.first = other.last = nullptr;
    other.count = 0;
  }
};

}  // namespace kx
