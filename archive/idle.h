#pragma once

// Called from every callback of the archive libraries, at least every 50 ms while a call works, so
// that the program's windows stay painted. It may throw: what it throws is dropped.
using IdleHandler = void (*)();

// Null (the initial state) for none.
void setIdleHandler(IdleHandler handler);

// Calls the handler that is set.
void callIdleHandler() noexcept;
