// The root of every reference-counted object, the owning pointer, and run-time classes.
//
// Conventions that hold for all object types of the platform:
//  - `Ref<T>` owns a reference, `T *` borrows one. A null pointer is a valid "no object" wherever a parameter
//    or result says "or null"; elsewhere pointers are never null.
//  - Functions named `create...` give an owned result. Every other object result is borrowed and lives until
//    the current ReleaseScope of the calling thread ends, or as long as the object it was read from says.
//  - A ReleaseScope is opened where a thread begins a piece of work: queues and connections do it for each
//    item and message. A loop over many items opens one for each turn, and a function for applications that
//    makes objects on the way to its result opens one for those. Other functions open none.
//  - Immutable objects may be shared between threads freely. Mutable ones belong to one thread at a time.
//  - Reference counts may be changed from any thread.
#ifndef WICKERLANE_PLATFORM_OBJECT_OBJECT_H
#define WICKERLANE_PLATFORM_OBJECT_OBJECT_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <type_traits>
#include <utility>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

class Object;
class String;

/// A class at run time: its name, its parent, and how to make an instance without arguments.
/// Instances of this type are constants that are never destroyed.
struct Class {
    const char *name;        ///< Never null; unique among registered classes.
    const Class *superclass; ///< Null for the root class only.
    /// Makes an owned instance, or gives null when there is none to be had. A null pointer when the class
    /// needs arguments.
    Object *(*instantiate)();

    [[nodiscard]] bool isSubclassOf(const Class *other) const noexcept {
        for (const Class *c = this; c != nullptr; c = c->superclass)
            if (c == other)
                return true;
        return false;
    }
};

/// Finds a class by its name: first the built-in ones, then the registered ones. Null when there is none.
/// Thread-safe.
WL_EXPORT const Class *classNamed(std::string_view name);

/// Adds a class that must never be destroyed. False when the name is taken by another class. Thread-safe.
WL_EXPORT bool registerClass(const Class *added);

/// In a source file of this library, beside a class's definition and in its scope: lists the class among the
/// built-in ones. The linker gathers the lists into one constant table.
#define WL_BUILT_IN_CLASS(T)              \
    [[gnu::section("wickerlane_classes"), \
      gnu::used]] static constinit const ::wickerlane::Class *const builtIn##T = &T::classInfo

/// Inside a class declaration: gives the class its run-time class object, which its source file defines.
#define WL_OBJECT                                                                    \
public:                                                                              \
    static const ::wickerlane::Class classInfo;                                      \
    [[nodiscard]] const ::wickerlane::Class *classObject() const noexcept override { \
        return &classInfo;                                                           \
    }

/// The root class. Destroying an object never recurses, however deep the objects it held were nested.
class WL_EXPORT Object {
public:
    static const Class classInfo;

    Object(const Object &) = delete;
    Object &operator=(const Object &) = delete;

    void retain() const noexcept {
        if (!isImmortal())
            references.fetch_add(1, std::memory_order_relaxed);
    }
    void release() const noexcept {
        if (isImmortal())
            return;
        if (references.fetch_sub(1, std::memory_order_release) == 1) {
            static_cast<void>(
                references.load(std::memory_order_acquire)); // what other owners did comes first
            destroy();
        }
    }

    /// Whether the caller's reference is the only one, so that no one else can see the object change.
    [[nodiscard]] bool isUnique() const noexcept { return references.load(std::memory_order_acquire) == 1; }

    /// The object's run-time class.
    [[nodiscard]] virtual const Class *classObject() const noexcept { return &classInfo; }
    [[nodiscard]] bool isKindOf(const Class *c) const noexcept { return classObject()->isSubclassOf(c); }

    /// Equality by value; by identity where a class does not say otherwise. False for null.
    [[nodiscard]] virtual bool isEqual(const Object *other) const { return this == other; }
    /// Equal objects have equal hashes.
    [[nodiscard]] virtual std::size_t hash() const { return std::hash<const void *>{}(this); }
    /// The text that "%@" shows, borrowed. "<Class: address>" where a class does not say otherwise.
    [[nodiscard]] virtual String *description() const;
    /// The text for a developer, borrowed; the description where a class does not say otherwise.
    [[nodiscard]] virtual String *debugDescription() const { return description(); }

protected:
    struct ImmortalTag {};
    constexpr Object() noexcept : references(1) {}
    /// For objects in static storage: counting does not touch them and they are never destroyed.
    constexpr explicit Object(ImmortalTag) noexcept : references(immortalBit) {}
    virtual ~Object() = default;

private:
    static constexpr std::uintptr_t immortalBit = std::uintptr_t{1} << (sizeof(std::uintptr_t) * 8 - 1);
    [[nodiscard]] bool isImmortal() const noexcept {
        return (references.load(std::memory_order_relaxed) & immortalBit) != 0;
    }
    void destroy() const noexcept;

    // Counts references while the object lives; links it into its thread's list of the dying afterwards.
    mutable std::atomic<std::uintptr_t> references;
};

/// Begins the declaration of an Immortal in static storage. Of objects that are only constinit, a compiler
/// may register the destructor when the program starts; of constant ones it must not.
#ifdef __clang__ // which would warn of the destructor all the same
#define WL_IMMORTAL __attribute__((no_destroy)) constexpr
#else
#define WL_IMMORTAL constexpr
#endif

/// Storage for an object that is initialised at compile time and never destroyed:
/// `WL_IMMORTAL Immortal<ConstantString> text{"text"};`
template <class T>
union Immortal {
    T value;
    template <class... Arguments>
    constexpr explicit Immortal(Arguments... arguments) : value(arguments...) {}
    constexpr ~Immortal() {}
    /// The object, whose count of references may change although it is constant.
    [[nodiscard]] constexpr T *get() const noexcept { return const_cast<T *>(&value); } // NOLINT
};

/// Owns one reference to an object, or none.
template <class T>
class Ref {
public:
    constexpr Ref() noexcept = default;
    constexpr Ref(std::nullptr_t) noexcept {}
    /// Takes a reference of its own.
    Ref(T *object) noexcept : pointer(object) {
        if (pointer != nullptr)
            pointer->retain();
    }
    Ref(const Ref &other) noexcept : Ref(other.pointer) {}
    Ref(Ref &&other) noexcept : pointer(std::exchange(other.pointer, nullptr)) {}
    template <class U>
    requires std::is_convertible_v<U *, T *> Ref(const Ref<U> &other)
    noexcept : Ref(other.get()) {}
    template <class U>
    requires std::is_convertible_v<U *, T *> Ref(Ref<U> &&other)
    noexcept : pointer(other.leak()) {}
    ~Ref() {
        if (pointer != nullptr)
            pointer->release();
    }
    Ref &operator=(Ref other) noexcept {
        std::swap(pointer, other.pointer);
        return *this;
    }

    /// Takes over a reference that the caller owns, such as the result of a C function with `Create` in its
    /// name.
    [[nodiscard]] static Ref adopt(T *owned) noexcept {
        Ref result;
        result.pointer = owned;
        return result;
    }
    /// Gives up ownership: the caller owns the reference.
    [[nodiscard]] T *leak() noexcept { return std::exchange(pointer, nullptr); }

    [[nodiscard]] T *get() const noexcept { return pointer; }
    T *operator->() const noexcept { return pointer; }
    T &operator*() const noexcept { return *pointer; }
    explicit operator bool() const noexcept { return pointer != nullptr; }
    friend bool operator==(const Ref &a, const Ref &b) noexcept { return a.pointer == b.pointer; }
    friend bool operator==(const Ref &a, std::nullptr_t) noexcept { return a.pointer == nullptr; }

private:
    T *pointer = nullptr;
};

/// Makes an object with the given constructor arguments.
template <class T, class... Arguments>
[[nodiscard]] Ref<T> makeRef(Arguments &&...arguments) {
    return Ref<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

/// The object as a T when it is one by its run-time class, else null. Null gives null.
template <class T>
[[nodiscard]] T *as(Object *object) noexcept {
    return object != nullptr && object->isKindOf(&T::classInfo) ? static_cast<T *>(object) : nullptr;
}
template <class T>
[[nodiscard]] const T *as(const Object *object) noexcept {
    return object != nullptr && object->isKindOf(&T::classInfo) ? static_cast<const T *>(object) : nullptr;
}

/// Equality by value in which null equals null only.
[[nodiscard]] inline bool areEqual(const Object *a, const Object *b) {
    return a == b || (a != nullptr && a->isEqual(b));
}

} // namespace wickerlane

#endif
