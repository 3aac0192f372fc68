#pragma once

#include "platform/forms.h"

#include <QString>

#include <vector>

// Answers message boxes in place of the user during its lifetime, and records their texts.
class Answers {
  public:
    struct Box {
        QString text;
        int style;
        QString title;
        QString cause;
    };

    explicit Answers(int answer = platform::kAnswerOk) {
        platform::prompts().messageBox = [this, answer](const QString &text, int style,
                                                        const QString &title,
                                                        const QString &cause) {
            m_boxes.push_back({text, style, title, cause});
            return answer;
        };
    }
    ~Answers() { platform::prompts() = m_before; }
    Answers(const Answers &) = delete;
    Answers &operator=(const Answers &) = delete;

    const std::vector<Box> &boxes() const { return m_boxes; }

  private:
    std::vector<Box> m_boxes;
    platform::Prompts m_before = platform::prompts();
};
