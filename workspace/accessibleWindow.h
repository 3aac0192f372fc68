#pragma once

// Makes screen readers take the program's windows for windows; a bare widget's role says nothing.
void InstallAccessibleWindows();
