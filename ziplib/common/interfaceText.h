#pragma once

#include <string>
#include <string_view>

namespace ziplib {

// Texts at the C interface of both libraries, which is in the system's narrow code page. Behind it
// all texts are UTF-8: these functions are the only ones that convert.

// A text that a program passes; "" for null.
std::string fromProgram(const char *text);

// A name that a program gets. Letters that the code page lacks become "?".
std::string toProgram(std::string_view text);

// A message that a program gets to show. Control characters, which names in it may hold and
// terminals obey, become "?".
std::string messageToProgram(std::string_view text);

// What a program sees of a name when it gets it, in UTF-8.
std::string asProgramSees(std::string_view text);

} // namespace ziplib
