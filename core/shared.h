/**
 * @file
 * Fields that several threads read and write without a lock.
 */
#ifndef MCADAPT_CORE_SHARED_H
#define MCADAPT_CORE_SHARED_H

#include <type_traits>

#if defined(__SANITIZE_THREAD__)
#define MCADAPT_THREADS_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define MCADAPT_THREADS_CHECKED 1
#endif
#endif

namespace mcadapt {

/*
 * A number is read by a plain load, behind which the compiler takes the field for changed: it can neither load the
 * same value again later nor use an earlier one. Volatile and relaxed atomic reads promise no more, but of narrow
 * fields they cost GCC an instruction on ARM, to extend what was loaded already extended. It is written by a volatile
 * store: at once, in one piece. The race detector knows atomics only, so under it they take the place of both.
 *
 * A pointer is ordered too: who reads it sees what was written to its block before.
 */
template <class T> [[gnu::always_inline]] inline T read_whole(const T &field)
{
    if constexpr (std::is_pointer_v<T>)
        return __atomic_load_n(&field, __ATOMIC_ACQUIRE);
#ifdef MCADAPT_THREADS_CHECKED
    return __atomic_load_n(&field, __ATOMIC_RELAXED);
#else
    const T value = field;
    asm("" : "+m"(const_cast<T &>(field)));
    return value;
#endif
}

template <class T> [[gnu::always_inline]] inline void write_whole(T &field, T value)
{
    if constexpr (std::is_pointer_v<T>) {
        __atomic_store_n(&field, value, __ATOMIC_RELEASE);
        return;
    }
#ifdef MCADAPT_THREADS_CHECKED
    __atomic_store_n(&field, value, __ATOMIC_RELAXED);
#else
    const_cast<volatile T &>(field) = value;
#endif
}

/**
 * A field of type `T`, with its size and alignment, of which every read is one whole load and every write one whole
 * store: no thread ever sees half of a value. Copies of a record go field by field, and `++` is a load and a store.
 *
 * `+field` is the value of a number, for a message: `...` takes no objects.
 */
template <class T> class shared {
    // NOLINTNEXTLINE(bugprone-sizeof-expression): of a pointer too
    static_assert(sizeof(T) <= sizeof(void *)); // what one access can take

public:
    shared() = default;
    constexpr shared(T value) : value_(value) {}
    constexpr shared(const shared &other) : value_(other) {}

    // NOLINTNEXTLINE(cert-oop54-cpp, misc-unconventional-assign-operator): the other one does it
    constexpr shared &operator=(const shared &other) { return *this = T{other}; }
    constexpr shared &operator=(T value)
    {
        if (__builtin_is_constant_evaluated())
            value_ = value;
        else
            write_whole(value_, value);
        return *this;
    }

    constexpr operator T() const { return __builtin_is_constant_evaluated() ? value_ : read_whole(value_); }

    shared &operator++() { return step(1); }
    shared &operator--() { return step(~0u); }

private:
    // Wraps: a count may hold anything.
    shared &step(unsigned by) { return *this = static_cast<T>(static_cast<unsigned>(T{*this}) + by); }

    T value_;
};

/** Fields as the interface hands them out and takes them: of the plain type. */
template <class T> T *plain(shared<T> *fields) { return reinterpret_cast<T *>(fields); }
template <class T> const T *plain(const shared<T> *fields) { return reinterpret_cast<const T *>(fields); }

/** The way back. */
template <class T> const shared<T> *as_shared(const T *fields) { return reinterpret_cast<const shared<T> *>(fields); }

} // namespace mcadapt

#undef MCADAPT_THREADS_CHECKED

#endif
