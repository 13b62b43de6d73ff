#pragma once

#ifdef __cplusplus
extern "C" {
#endif

int backtrace(void** addresses, int capacity);
char** backtrace_symbols(void* const* addresses, int count);

#ifdef __cplusplus
}
#endif
