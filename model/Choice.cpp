// SPDX-License-Identifier: Apache-2.0
#include "model/Choice.h"

#include "model/RecordIO.h"

qint64 Choice::RecordBytes(const Ansi::CodePage &page) const
{
    return ShortestRecord + page.FromText(Statement()).size();
}

bool Choice::Serialize(File &file) const
{
    file.WriteData(m_number);
    file.WriteData(m_isSolution);
    CryptoAPI::WriteSecureData(file, Statement());
    return true;
}

bool Choice::Deserialize(File &file)
{
    ExamFormat::Read(file, m_number);
    ExamFormat::Read(file, m_isSolution);
    ExamFormat::ReadSealed(file, m_statement);
    return true;
}

template class Collection<Choice>;
