#pragma once

class QWidget;

// Fails the test where a window in the style of this moment cuts a text of its own off, and skips
// it where there are no letters to measure.
void expectNothingCutOff(const QWidget &window);
