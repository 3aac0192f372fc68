#pragma once

// Copies the program's PNG plug-in ("Png.8bi" in the program's folder) into the plug-in folder of
// the registered Adobe Photoshop 6.0, after backing up the existing one as "Png.8bi.bak". Does
// nothing if Photoshop is not registered. A copy that fails is ignored and does not prevent the
// next one. Raises no error.
void InstallPngPlugin();
