#include "tests/support/environment.h"

#include <cstdlib>

void setVariable(const char *name, const char *value) {
    if (*value == '\0')
        ::unsetenv(name);
    else
        ::setenv(name, value, 1);
}
