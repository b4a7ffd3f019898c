// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ui/Messages.h"

#include <gtest/gtest.h>

#include <deque>
#include <functional>

// Message boxes of a test: every box has to be announced, in order, with its
// text and style, and gets the answer of the test. One that nobody announced fails the
// test, and so does an announced one that never came.
class Messages : public MessagePort {
public:
    Messages() { SetMessagePort(this); }
    ~Messages() override
    {
        SetMessagePort(nullptr);
        for (const Box &box : m_expected)
            ADD_FAILURE() << "never shown: " << box.Text.toStdString();
    }
    Messages(const Messages &) = delete;
    Messages &operator=(const Messages &) = delete;

    // Meanwhile is done as long as the box is open.
    void Expect(const QString &text, MessageStyle style, MessageAnswer answer = AnswerOK, std::function<void()> meanwhile = {})
    {
        m_expected.push_back({ text, style, answer, std::move(meanwhile) });
    }

    MessageAnswer Show(const QString &text, MessageStyle style) override
    {
        ++m_count;
        if (m_expected.empty()) {
            ADD_FAILURE() << "unexpected: " << text.toStdString();
            return NoAnswer;
        }
        const Box box = m_expected.front();
        m_expected.pop_front();
        EXPECT_EQ(text.toStdString(), box.Text.toStdString());
        EXPECT_EQ(style, box.Style) << text.toStdString();
        if (box.Meanwhile)
            box.Meanwhile();
        return box.Answer;
    }
    int Count() const { return m_count; }

private:
    struct Box {
        QString Text;
        MessageStyle Style;
        MessageAnswer Answer;
        std::function<void()> Meanwhile;
    };
    std::deque<Box> m_expected;
    int m_count = 0;
};
