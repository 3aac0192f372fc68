#include "tests/support/answers.h"

Answers::Answers(int answer) : m_before(platform::prompts()) {
    platform::prompts().messageBox = [this, answer](const QString &text, int style,
                                                    const QString &title) {
        m_boxes.push_back({text, style, title});
        return answer;
    };
}

Answers::~Answers() {
    platform::prompts() = m_before;
}
