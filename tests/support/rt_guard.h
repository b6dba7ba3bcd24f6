// A guard for the audio thread's rules in tests: while armed, it counts every
// heap allocation (operator new, the malloc family) and every lock or wait
// (mutexes, read-write locks, condition variables, semaphores) that the
// process makes, also inside a dlopen-ed module, because this test binary
// defines those functions and the module's calls bind to them.
//
// Under AddressSanitizer the sanitizer owns the allocator, so the guard is
// compiled out there and RtGuard::available() answers false; the release
// build runs it.
#pragma once

namespace RtGuard {

bool available();
void arm();
// Disarms and answers the allocations and locks counted since arm().
struct Counts {
    long allocations;
    long locks;
};
Counts disarm();

} // namespace RtGuard
