#include "ziplib/vl2uzip/passwords.h"

namespace ziplib {

using platform::Failure;
using platform::Status;

bool Passwords::known(std::size_t index, std::optional<Cipher> &cipher) {
    bool fits = false;
    if (!m_have || !checkPassword(m_source, index, Cipher(m_password), fits).ok() || !fits)
        return false;
    cipher = Cipher(m_password);
    return true;
}

Status Passwords::ask(std::size_t index, const std::string &path, int &tries,
                      std::optional<Cipher> &cipher) {
    while (tries < kMostTries) {
        ++tries;
        std::string password;
        if (!m_caller.password(path, password))
            return {Failure::Password, path + " needs a password", path};
        bool fits = false;
        if (Status status = checkPassword(m_source, index, Cipher(password), fits); !status.ok())
            return status;
        if (fits) {
            m_password = password;
            m_have = true;
            cipher = Cipher(password);
            return {};
        }
    }
    return {Failure::Password, "the password for " + path + " is wrong", path};
}

} // namespace ziplib
