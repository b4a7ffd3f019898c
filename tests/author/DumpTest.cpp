// SPDX-License-Identifier: Apache-2.0
#include "author/Dump.h"
#include "tests/support/Test.h"

TEST(DumpTest, KeysAndTextsAsTheyAreStored)
{
    const auto exam = NewExam();
    exam->SetCode(u"A\"B"_s);
    AddItem(*exam, { u"Line\nÄ\\ \t€"_s, { u"*one"_s, u"two"_s }, true, u"x.gif"_s, u"  why  "_s });
    AddItem(*exam, { u"Q"_s, {} });
    const QString path = Install(*exam, u"DUMP"_s);
    QByteArray bytes = Sandbox::ReadFile(path);
    bytes.replace(0, 4, QByteArray::fromHex("0200000000fe"));
    Sandbox::WriteFile(path, bytes);
    Exam loaded;
    loaded.Load(path);
    EXPECT_EQ(
        QString::fromUtf8(Dump::ToJson(loaded)).remove(u'\n'),
        uR"({"reserved":"00fe","code":"A\"B","name":"Sample","maxScore":1000,"passScore":700,"duration":60,"questions":[)"
        uR"({"number":1,"solutionCount":1,"hasHint":true,"exhibit":"x.gif","problem":"Line\nÄ\\ \t€","explanation":"  why  ","choices":[)"
        uR"({"number":1,"isSolution":true,"statement":"one"},{"number":2,"isSolution":false,"statement":"two"}]},)"
        uR"({"number":2,"solutionCount":0,"hasHint":false,"exhibit":"","problem":"Q","explanation":"","choices":[]}]})"_s);
}
