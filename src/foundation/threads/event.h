// MEvent<T>: a multicast callback carrying a payload of type T.
//
// A listener is a target object, one of its member functions and a bound 32-bit
// argument. The function takes (const T&) or (const T&, int32_t argument) and
// returns bool or nothing; ExecuteImmediately answers whether any listener
// returned true. Listeners run in the order they were added, each in its own
// guard, so one that throws does not stop the next.
//
// Post(payload) is the way from any thread to the thread that drains the global
// pending list (the GUI): with at least one listener it appends the payload and
// puts the event on the list, once per payload; without listeners it does nothing.
// ExecutePendingEvent delivers the oldest payload. CancelPending takes all entries
// off and drops the payloads; destruction does so first. Listeners are added and
// removed under the global lock, so posting threads see a consistent count.
//
// An object must stop every thread that may post its events before it dies.
#pragma once

#include <concepts>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

#include "foundation/containers/containers.h"
#include "foundation/core/exception.h"
#include "foundation/threads/global_lock.h"
#include "foundation/threads/pending_list.h"

namespace kx {

template <typename T>
class MEvent : public MEventBase {
 public:
  struct Listener {
    using Invoker = bool (*)(const Listener& listener, const T& payload);
    void* target = nullptr;
    Invoker invoke = nullptr;
    // The member function pointer, kept as bytes because its type varies.
    unsigned char function[2 * sizeof(void*)] = {};
    int32_t argument = 0;

    bool Matches(const Listener& other) const {
      return target == other.target && invoke == other.invoke &&
             std::memcmp(function, other.function, sizeof function) == 0;
    }
  };

  explicit MEvent(void* owner = nullptr) : owner(owner) {}
  ~MEvent() override { CancelPending(); }

  template <typename Target, typename Class, typename Function>
  requires std::derived_from<Target, Class> && std::is_function_v<Function>
  void Add(Target* target, Function Class::*function, int32_t argument = 0) {
    Listener listener = MakeListener(target, function, argument);
    MGlobalLock hold;
    listeners.Add(listener);
  }

  // Removes the first listener with this target and function; answers whether
  // there was one.
  template <typename Target, typename Class, typename Function>
  requires std::derived_from<Target, Class> && std::is_function_v<Function>
  bool Remove(Target* target, Function Class::*function) {
    Listener wanted = MakeListener(target, function, 0);
    MGlobalLock hold;
    for (int32_t i = 0; i < listeners.count; ++i) {
      if (listeners.data[i].Matches(wanted)) {
        listeners.Remove(i);
        return true;
      }
    }
    return false;
  }

  int32_t ListenerCount() const {
    MGlobalLock hold;
    return listeners.count;
  }

  bool ExecuteImmediately(const T& payload) {
    MArray<Listener> round;
    {
      MGlobalLock hold;
      round = listeners;
    }
    return Deliver(round, payload, "MEvent::ExecuteImmediately");
  }

  void Post(const T& payload) { PostTo(GlobalPendingList(), payload); }

  // Post onto another list than the global one.
  void PostTo(MPendingList& list, const T& payload) {
    MGlobalLock hold;
    if (listeners.count == 0) return;
    AttachTo(list);
    pendingPayloads.Add(payload);
    list.Add(this);
  }

  void ExecutePendingEvent() override {
    std::optional<T> payload;
    MArray<Listener> round;
    {
      MGlobalLock hold;
      if (pendingPayloads.count == 0) return;
      payload.emplace(std::move(pendingPayloads.data[0]));
      pendingPayloads.Remove(0);
      round = listeners;
    }
    // From here on nothing of `this` is touched: a listener may destroy the event.
    Deliver(round, *payload, "MEvent::ExecutePendingEvent");
  }

  void CancelPending() {
    MGlobalLock hold;
    DetachFromList();
    pendingPayloads.Clear();
  }

  void* owner;
  MArray<Listener> listeners;
  MArray<T> pendingPayloads;

 protected:
  void ClearPendingPayloads() override { pendingPayloads.Clear(); }

 private:
  template <typename Target, typename Class, typename Function>
  static Listener MakeListener(Target* target, Function Class::*function, int32_t argument) {
    using Method = Function Class::*;
    static_assert(sizeof(Method) <= sizeof(Listener::function), "member pointer too large");
    static_assert(std::is_invocable_v<Method, Class*, const T&> ||
                      std::is_invocable_v<Method, Class*, const T&, int32_t>,
                  "a listener takes (const T&) or (const T&, int32_t)");
    Listener listener;
    listener.target = static_cast<Class*>(target);
    listener.invoke = &Invoke<Class, Method>;
    std::memcpy(listener.function, &function, sizeof function);
    listener.argument = argument;
    return listener;
  }

  template <typename Class, typename Method>
  static bool Invoke(const Listener& listener, const T& payload) {
    Method method;
    std::memcpy(&method, listener.function, sizeof method);
    auto* target = static_cast<Class*>(listener.target);
    auto call = [&] {
      if constexpr (std::is_invocable_v<Method, Class*, const T&, int32_t>)
        return std::invoke(method, target, payload, listener.argument);
      else
        return std::invoke(method, target, payload);
    };
    if constexpr (std::is_void_v<decltype(call())>) {
      call();
      return false;
    } else {
      return static_cast<bool>(call());
    }
  }

  static bool Deliver(const MArray<Listener>& round, const T& payload, const char* label) {
    bool any = false;
    for (const Listener& listener : round) {
      Guarded(label, [&] {
        if (listener.invoke(listener, payload)) any = true;
      });
    }
    return any;
  }
};

}  // namespace kx
