#pragma once

#include "platform/forms.h"

#include <QString>

#include <vector>

// Answers message boxes in place of the user as long as it lives, and keeps what they said.
class Answers {
  public:
    struct Box {
        QString text;
        int style;
        QString title;
    };

    explicit Answers(int answer = platform::kAnswerOk);
    ~Answers();
    Answers(const Answers &) = delete;
    Answers &operator=(const Answers &) = delete;

    const std::vector<Box> &boxes() const { return m_boxes; }

  private:
    std::vector<Box> m_boxes;
    platform::Prompts m_before;
};
