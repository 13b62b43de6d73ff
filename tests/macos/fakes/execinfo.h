#pragma once

// The part of the system's header that the library uses. The linker name differs from the C library's function, which
// sanitizers replace.

extern "C" char** backtrace_symbols(void* const* addresses, int count) __asm__("fake_backtrace_symbols");
