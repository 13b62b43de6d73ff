#pragma once

namespace WriterThread {

/// Lets the calling thread, whose work can wait, not push others off their processor when it is woken.
void StandBack();

} // namespace WriterThread
