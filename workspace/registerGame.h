#pragma once

// Asks for the folder of the game and registers it, as its installer does. A folder without
// GameData/base is refused with a message box, and the question repeated. Returns whether a folder
// was registered.
bool RegisterGameFolder();
