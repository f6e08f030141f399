#pragma once

namespace ksp::print {

// From now on Ctrl+C, Ctrl+Break and a closed console do not end the program at once: Interrupted
// then tells of them, so that the job is ended in order.
void CatchInterruption();
bool Interrupted();

}  // namespace ksp::print
