#pragma once

#include <QString>

// The icon that an entry gets in the tree, by the last three characters of its name without regard
// to case; 0 for the types that the tree leaves out.
int ImageOfFile(const QString &fileName);
