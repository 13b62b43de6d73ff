#pragma once

class QByteArray;

/// The memory of the batches on their way to the file.
///
/// A batch is allocated by the thread that logs and freed by the logging thread. Doing that through the allocator makes
/// the two wait for each other, so buffers that are done with are kept here, a few, and used again. All functions may
/// be called on any thread, and none ever waits.
namespace BatchPool {

/// An empty buffer with room for a batch and the line that completes it.
QByteArray Take();

/// Done with this batch. It may still be shared; it is used again when it no longer is.
void GiveBack(const QByteArray& batch);

/// Nothing is left to write at the moment. Memory that a burst took is returned to the system, once in a while.
void Idle();

} // namespace BatchPool
