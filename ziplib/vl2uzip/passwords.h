#pragma once

#include "ziplib/codec/cipher.h"
#include "ziplib/codec/entryReader.h"
#include "ziplib/vl2uzip/caller.h"

#include <optional>
#include <string>

namespace ziplib {

// Gets passwords from the caller. The last right one is tried first, without a question.
class Passwords {
  public:
    Passwords(const Source &source, Caller &caller) : m_source(source), m_caller(caller) {}

    // True if the last password fits the entry, so that no question is needed.
    bool known(std::size_t index, std::optional<Cipher> &cipher);
    // Asks until one fits, the caller declines (Password) or `tries` reaches 3 (Password).
    platform::Status ask(std::size_t index, const std::string &path, int &tries,
                         std::optional<Cipher> &cipher);

  private:
    const Source &m_source;
    Caller &m_caller;
    std::string m_password;
    bool m_have = false;
};

} // namespace ziplib
