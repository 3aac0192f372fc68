#pragma once

// Sets a variable of this process's environment; "" removes it.
void setVariable(const char *name, const char *value);
