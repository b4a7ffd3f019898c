// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Common.h"
#include "session/ExamSession.h"

#include <QStringList>

#include <functional>

// The surroundings of a session: a log of its calls, and scripted answers.
struct ScriptedPort : SessionPort {
    QStringList Log;
    MessageAnswer Answer = AnswerNo;
    std::function<void()> Meanwhile; // done once, while the next box or window is open
    std::function<void()> Shown; // done whenever the page is to be painted

    void Note(const QString &what)
    {
        Log += what;
        if (const auto meanwhile = std::exchange(Meanwhile, {}))
            meanwhile();
    }
    MessageAnswer Ask(const QString &text, MessageStyle style, const QVariantList &values) override
    {
        Note(QString::number(style) + u' ' + Common::FormatText(text, values, Common::LineBreakMarker::Exact));
        return Answer;
    }
    void ShowItem() override
    {
        Log += QStringLiteral("item");
        ShowChanges();
    }
    void ShowChanges() override
    {
        if (Shown)
            Shown();
    }
    void ShowExam() override { Note(QStringLiteral("exam")); }
    void StartClock() override { Note(QStringLiteral("clock")); }
    void StopClock() override { Log += QStringLiteral("no clock"); }
    void ShowExhibit(const QString &name) override { Note(name); }
    void CloseExhibit() override { }
    void ShowExplanation(qint16 index) override { Note(QStringLiteral("why %1").arg(index)); }
    void ShowReviewList() override { Note(QStringLiteral("list")); }
    void ShowReport() override { Note(QStringLiteral("report")); }
};
