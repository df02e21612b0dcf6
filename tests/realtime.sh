#!/usr/bin/env bash
# realtime.sh ROOT PROGRAM COMPILER: holds what PROGRAM runs on the audio thread to the rules of src/base/Realtime.h. The
# sound server enters it only in marked code, and marked code calls nothing but marked code and what the list below
# allows. PROGRAM is built with optimisation, for x86-64. Says each thing that is wrong in a line.
set -euo pipefail

# What is not marked and may be called, and why.
allowed='
memcpy@plt memmove@plt memset@plt: move bytes
pw_filter_get_dsp_buffer@plt: the sound server offers it for this thread; takes a buffer from a queue without a lock
rewindle::PipeWireLoopQueue::Signal::trigger(): writes eight bytes to an eventfd, through a table of the server
__clang_call_terminate: ends the program, where g++ has a table that says so
'

# The section is in the program as the linker made it, so everything that the compiler inlined is in it, too, and what
# it split off shows as a jump out of it.
marked_code() { objdump -dC --no-show-raw-insn --section=rewindle_nonblocking "$1"; }

check_calls() { # PROGRAM
    local bounds
    bounds=$(objdump -h "$1" | awk '$2 == "rewindle_nonblocking" { print $4, $3 }')
    [ -n "$bounds" ] || { echo "$1: holds no marked code"; return 1; }
    { echo "$allowed"; printf 'section\t%016x %016x\n' "0x${bounds% *}" "$((16#${bounds% *} + 16#${bounds#* }))"
      marked_code "$1"; } | awk -F '\t' '
    function complain(text) { print name ": " text; wrong = 1 }
    $1 == "section" { split($2, bound, " "); next }
    !NF { next }
    !(1 in bound) { reasons = index($0, ": "); allow = allow " " substr($0, 1, reasons - 1) " "; next }
    NF == 1 { if (sub(/^[0-9a-f]+ </, "") && sub(/(\(.*)?>:$/, "")) name = $0; next }
    { sub(/^((notrack|bnd|addr32|data16|cs|ds|rex[.WRXB]*) )+/, "", $2) }
    $2 ~ /^(syscall|sysenter|int +\$)/ { complain("asks the kernel"); next }
    $2 ~ /^(l?call|l?jmp) +\*/ { complain("calls or jumps through a pointer"); next }
    $2 ~ /^(call|j[a-z]+(,p[nt])?|loop[a-z]*|xbegin) / {
        target = $2; sub(/^[^ ]+ +/, "", target); sub(/ .*/, "", target)
        target = substr("0000000000000000" target, length(target) + 1)
        if (target >= bound[1] && target < bound[2]) next
        callee = $2; sub(/^[^<]*</, "", callee); sub(/>[^>]*$/, "", callee)
        if (!index(allow, " " callee " ")) complain("calls " callee)
    }
    END { exit wrong }'
}

# The one way onto the audio thread is the `process` of a node's events, a function by its name.
check_entries() { # SOURCES PROGRAM
    local entries entry wrong=0
    entries=$(grep -rlE 'FLAG_RT_PROCESS|pw_(filter|stream)_events' "$1" | while read -r file; do
        sed -nE 's/.*[.>]process = (.*);.*/\1/p' "$file" | grep . || echo "(nothing in $file)"
    done || echo "(nothing in $1)")
    while read -r entry; do
        marked_code "$2" | grep '>:$' | grep -F " <rewindle::$entry(" >/dev/null && continue
        echo "what the sound server calls on the audio thread is not marked: $entry"
        wrong=1
    done <<<"$entries"
    return $wrong
}

# A check that cannot fail shows nothing: each kind of fault is compiled, and must be found.
check_catches() { # ROOT COMPILER
    local folder fault
    folder=$(mktemp -d)
    cat >"$folder/faults.cpp" <<'END'
#include "base/Log.h"
#include "base/Realtime.h"
#include <cstring>
#include <mutex>
#include <vector>
namespace rewindle {
struct Node {
    Log& log;
    LogSink& sink;
    std::mutex lock;
    std::vector<float> samples;
    void (*handler)();
};
[[gnu::noinline]] void plain() { asm volatile(""); }
#define MARKED(name, ...)                                \
    void name(Node& node) noexcept REWINDLE_NONBLOCKING; \
    void name([[maybe_unused]] Node& node) noexcept { __VA_ARGS__; }
MARKED(locks, const std::lock_guard hold(node.lock))
MARKED(allocates, node.samples.push_back(1))
MARKED(frees, std::vector<float>().swap(node.samples))
MARKED(logs, node.log.info("text"))
MARKED(callsVirtual, node.sink.write(LogLevel::info, "", ""))
MARKED(callsPointer, node.handler())
MARKED(callsUnmarked, plain())
MARKED(endsInUnmarked, return plain())
MARKED(waits, static const std::vector<float> zeros(node.samples.size()); node.handler = nullptr)
MARKED(asksKernel, asm volatile("syscall"))
MARKED(sound, std::memset(node.samples.data(), 0, node.samples.size()))
MARKED(soundToo, if (node.handler) sound(node))
struct pw_filter_events { void (*process)(Node&) = nullptr; };
void prepare(pw_filter_events& events) { events.process = sound; }
}
int main() {}
END
    "$2" -std=c++20 -O3 "-I$1/src" "$folder/faults.cpp" -o "$folder/faults"
    if check_calls "$folder/faults" >"$folder/found"; then echo "found no fault"; return 1; fi
    for fault in $(sed -nE 's/^MARKED\(([A-Za-z]+),.*/\1/p' "$folder/faults.cpp"); do
        case $fault in
        sound*) ! grep "^rewindle::$fault: " "$folder/found" || return 1 ;;
        *) grep -q "^rewindle::$fault: " "$folder/found" || { echo "not found: $fault"; return 1; } ;;
        esac
    done
    check_entries "$folder/faults.cpp" "$folder/faults" || return 1
    sed -i 's/process = sound/process = plain/' "$folder/faults.cpp"
    if check_entries "$folder/faults.cpp" "$folder/faults" >/dev/null; then echo "not found: an entry"; return 1; fi
    rm -rf "$folder"
}

check_catches "$1" "$3"
check_calls "$2"
check_entries "$1/src" "$2"
