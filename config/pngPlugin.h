#pragma once

// Puts the program's own PNG plug-in ("Png.8bi" in the program's folder) into the plug-in folder of
// the Adobe Photoshop 6.0 that is registered, after a copy of the one there to "Png.8bi.bak". Does
// nothing where no Photoshop is registered. A copy that fails is skipped without a word and the
// next one still tried; raises nothing.
void InstallPngPlugin();
