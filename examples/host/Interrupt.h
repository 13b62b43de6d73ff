#pragma once

/// Ctrl-C and similar signals: the host ends early, but in an orderly way.
namespace Interrupt {

void Catch();
bool WasAsked();

} // namespace Interrupt
