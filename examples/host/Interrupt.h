#pragma once

/// Ctrl-C and its likes: the host ends its work early, but in good order.
namespace Interrupt {

void Catch();
bool WasAsked();

} // namespace Interrupt
