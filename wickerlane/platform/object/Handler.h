// The one callable type of the library: completion handlers, work items, event handlers.
#ifndef WICKERLANE_PLATFORM_OBJECT_HANDLER_H
#define WICKERLANE_PLATFORM_OBJECT_HANDLER_H

#include <concepts>
#include <tuple>

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

template <class Signature>
class Handler;

/// A nullable, shared callable. Copies share one callable, which is destroyed with the last copy; it may be
/// move-only. A null pointer, an empty std::function and a default-made Handler are all the null handler.
/// Calling a null handler is a fault of the caller. Copying is thread-safe; calling is as safe as the
/// callable.
template <class Result, class... Arguments>
class Handler<Result(Arguments...)> {
public:
    constexpr Handler() noexcept = default;
    constexpr Handler(std::nullptr_t) noexcept {}

    template <class Callable>
    requires(!std::same_as<std::remove_cvref_t<Callable>, Handler> &&
             std::is_invocable_r_v<Result, std::decay_t<Callable> &, Arguments...>)
        Handler(Callable &&callable) {
        using Held = std::decay_t<Callable>;
        if constexpr (std::is_constructible_v<bool, const Held &> && !std::is_class_v<Held>) {
            if (!static_cast<bool>(callable))
                return;
        } else if constexpr (requires { callable == nullptr; }) {
            if (callable == nullptr)
                return;
        }
        block = new Closure<Held>(std::forward<Callable>(callable));
    }

    Handler(const Handler &other) noexcept : block(other.block) {
        if (block != nullptr)
            block->references.fetch_add(1, std::memory_order_relaxed);
    }
    Handler(Handler &&other) noexcept : block(std::exchange(other.block, nullptr)) {}
    Handler &operator=(Handler other) noexcept {
        std::swap(block, other.block);
        return *this;
    }
    ~Handler() {
        if (block != nullptr && block->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            block->destroy(block);
    }

    explicit operator bool() const noexcept { return block != nullptr; }
    friend bool operator==(const Handler &a, std::nullptr_t) noexcept { return a.block == nullptr; }

    Result operator()(Arguments... arguments) const {
        return block->invoke(block, std::forward<Arguments>(arguments)...);
    }

private:
    struct Block {
        std::atomic<std::uint32_t> references{1};
        Result (*invoke)(Block *, Arguments...);
        void (*destroy)(Block *);
    };
    template <class Held>
    struct Closure : Block {
        Held held;
        explicit Closure(auto &&callable) : held(std::forward<decltype(callable)>(callable)) {
            this->invoke = [](Block *self, Arguments... arguments) -> Result {
                return std::invoke(static_cast<Closure *>(self)->held, std::forward<Arguments>(arguments)...);
            };
            this->destroy = [](Block *self) { delete static_cast<Closure *>(self); };
        }
    };

    Block *block = nullptr;
};

/// Binds objects to a callable and keeps them alive as long as it lives. A lambda alone does not retain what
/// it captures; `queue->async(keeping([](String *s) { ... }, string))` does.
template <class Callable, class... Objects>
[[nodiscard]] auto keeping(Callable callable, Objects *...objects) {
    return [callable = std::move(callable),
            kept = std::make_tuple(Ref<Objects>(objects)...)](auto &&...arguments) mutable {
        return std::apply(
            [&](auto &...each) {
                return callable(each.get()..., std::forward<decltype(arguments)>(arguments)...);
            },
            kept);
    };
}

} // namespace wickerlane

#endif
