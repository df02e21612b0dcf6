#pragma once

/// Marks a function that the audio thread may call: no allocation, lock, wait, I/O or logging in it.
/// Compilers that know the attribute check it; to the others it is a comment.
#if defined(__clang__) && defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::nonblocking)
#define REWINDLE_NONBLOCKING [[clang::nonblocking]]
#endif
#endif
#ifndef REWINDLE_NONBLOCKING
#define REWINDLE_NONBLOCKING
#endif
