#pragma once

#include <string>
#include <string_view>

namespace ziplib {

// Texts at the C interface of both libraries are in the system's narrow code page; all other texts
// are UTF-8. Only these functions convert.

// A text from a program; "" for null.
std::string fromProgram(const char *text);

// A name for a program. Letters that the code page lacks become "?".
std::string toProgram(std::string_view text);

// A message for a program to show. Control characters, which names may contain and terminals
// interpret, become "?".
std::string messageToProgram(std::string_view text);

// A name as a program receives it, in UTF-8.
std::string asProgramSees(std::string_view text);

} // namespace ziplib
