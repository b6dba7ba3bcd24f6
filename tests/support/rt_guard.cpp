#include "tests/support/rt_guard.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#include <dlfcn.h>
#include <pthread.h>
#include <semaphore.h>

namespace {
std::atomic<bool> armed{false};
std::atomic<long> allocations{0};
std::atomic<long> locks{0};
} // namespace

#if defined(__SANITIZE_ADDRESS__)

namespace RtGuard {
bool available() {
    return false;
}
void arm() {}
Counts disarm() {
    return {0, 0};
}
} // namespace RtGuard

#else

namespace RtGuard {
bool available() {
    return true;
}
void arm() {
    allocations = 0;
    locks = 0;
    armed = true;
}
Counts disarm() {
    armed = false;
    return {allocations.load(), locks.load()};
}
} // namespace RtGuard

namespace {
inline void countAllocation() {
    if (armed.load(std::memory_order_relaxed)) allocations.fetch_add(1, std::memory_order_relaxed);
}
inline void countLock() {
    if (armed.load(std::memory_order_relaxed)) locks.fetch_add(1, std::memory_order_relaxed);
}
template <class F>
F next(const char* name) {
    return reinterpret_cast<F>(dlsym(RTLD_NEXT, name));
}
} // namespace

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);

void* malloc(size_t n) {
    countAllocation();
    return __libc_malloc(n);
}
void* calloc(size_t n, size_t m) {
    countAllocation();
    return __libc_calloc(n, m);
}
void* realloc(void* p, size_t n) {
    countAllocation();
    return __libc_realloc(p, n);
}
void free(void* p) {
    __libc_free(p);
}
void* memalign(size_t alignment, size_t n) {
    countAllocation();
    return __libc_memalign(alignment, n);
}
void* aligned_alloc(size_t alignment, size_t n) {
    countAllocation();
    return __libc_memalign(alignment, n);
}
int posix_memalign(void** p, size_t alignment, size_t n) {
    countAllocation();
    *p = __libc_memalign(alignment, n);
    return *p ? 0 : 12;
}

int pthread_mutex_lock(pthread_mutex_t* m) {
    static auto real = next<int (*)(pthread_mutex_t*)>("pthread_mutex_lock");
    countLock();
    return real(m);
}
int pthread_mutex_trylock(pthread_mutex_t* m) {
    static auto real = next<int (*)(pthread_mutex_t*)>("pthread_mutex_trylock");
    countLock();
    return real(m);
}
int pthread_rwlock_rdlock(pthread_rwlock_t* l) {
    static auto real = next<int (*)(pthread_rwlock_t*)>("pthread_rwlock_rdlock");
    countLock();
    return real(l);
}
int pthread_rwlock_wrlock(pthread_rwlock_t* l) {
    static auto real = next<int (*)(pthread_rwlock_t*)>("pthread_rwlock_wrlock");
    countLock();
    return real(l);
}
int pthread_cond_wait(pthread_cond_t* c, pthread_mutex_t* m) {
    static auto real = next<int (*)(pthread_cond_t*, pthread_mutex_t*)>("pthread_cond_wait");
    countLock();
    return real(c, m);
}
int pthread_spin_lock(pthread_spinlock_t* l) {
    static auto real = next<int (*)(pthread_spinlock_t*)>("pthread_spin_lock");
    countLock();
    return real(l);
}
int sem_wait(sem_t* s) {
    static auto real = next<int (*)(sem_t*)>("sem_wait");
    countLock();
    return real(s);
}
} // extern "C"

void* operator new(size_t n) {
    countAllocation();
    if (void* p = __libc_malloc(n ? n : 1)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t n) {
    return operator new(n);
}
void* operator new(size_t n, const std::nothrow_t&) noexcept {
    countAllocation();
    return __libc_malloc(n ? n : 1);
}
void* operator new[](size_t n, const std::nothrow_t&) noexcept {
    countAllocation();
    return __libc_malloc(n ? n : 1);
}
void* operator new(size_t n, std::align_val_t a) {
    countAllocation();
    if (void* p = __libc_memalign(static_cast<size_t>(a), n ? n : 1)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t n, std::align_val_t a) {
    return operator new(n, a);
}
void operator delete(void* p) noexcept {
    __libc_free(p);
}
void operator delete[](void* p) noexcept {
    __libc_free(p);
}
void operator delete(void* p, size_t) noexcept {
    __libc_free(p);
}
void operator delete[](void* p, size_t) noexcept {
    __libc_free(p);
}
void operator delete(void* p, std::align_val_t) noexcept {
    __libc_free(p);
}
void operator delete[](void* p, std::align_val_t) noexcept {
    __libc_free(p);
}
void operator delete(void* p, size_t, std::align_val_t) noexcept {
    __libc_free(p);
}
void operator delete[](void* p, size_t, std::align_val_t) noexcept {
    __libc_free(p);
}

#endif
