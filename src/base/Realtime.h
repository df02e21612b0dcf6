#pragma once

/// Marks, on its declaration, a function that the audio thread may call: no allocation, lock, wait, I/O or logging in
/// it, and no call through a pointer or of anything that is not marked.
///
/// The code of marked functions lies in a section of its own, and a test follows every call out of it
/// (tests/realtime.sh, which also lists the few functions of others that may be called). Compilers that know the
/// attribute check the same at the source.
#if defined(__clang__) && __clang_major__ >= 20 // 19 wants it on every definition, and checks no calls
#define REWINDLE_NONBLOCKING [[clang::nonblocking]] __attribute__((section("rewindle_nonblocking")))
#else
#define REWINDLE_NONBLOCKING __attribute__((section("rewindle_nonblocking")))
#endif
