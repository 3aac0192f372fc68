#pragma once

class QWidget;

// Expects, in the current style, that every caption of a window fits into its control, that no
// visible controls overlap, and that each lies within its parent.
void expectCaptionsFit(const QWidget &window);
