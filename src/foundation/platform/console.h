// Facts about the process's standard streams, for the console form of the boxes.
#pragma once

namespace kx {

// Standard input is a terminal, so a question can be put to a person.
bool StandardInputIsTerminal();

}  // namespace kx
