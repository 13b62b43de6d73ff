#pragma once

/// Calls `function` on a thread of its own so that a trace taken in it has `depth` frames, its own and the thread's
/// included. Where there is room for them, some lie in the framework's event delivery, as in an application.
void CallAtDepth(int depth, void (*function)(void*), void* argument);
