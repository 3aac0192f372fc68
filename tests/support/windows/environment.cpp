#include "tests/support/environment.h"

#include <stdlib.h>

void setVariable(const char *name, const char *value) {
    ::_putenv_s(name, value);
}
