// Facts about the process's standard streams, for the console form of the boxes
// and the tools' progress line.
#pragma once

namespace kx {

// Standard input is a terminal, so a question can be put to a person.
bool StandardInputIsTerminal();
// Standard error is a terminal, so a line may be redrawn in place.
bool StandardErrorIsTerminal();
// Columns of the terminal on standard error; 0 when unknown.
int StandardErrorColumns();

}  // namespace kx
