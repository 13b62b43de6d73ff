#pragma once

// As much of the system's header as the library uses. The name for the linker keeps clear of the C library's function,
// which sanitizers replace.

extern "C" char** backtrace_symbols(void* const* addresses, int count) __asm__("fake_backtrace_symbols");
