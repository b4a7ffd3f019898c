// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// The candidate's details.
class Profile {
public:
    qint32 RegistrationNumber() const { return m_registrationNumber; }
    void SetRegistrationNumber(qint32 number) { m_registrationNumber = number; }
    const QString &ID() const { return m_id; }
    void SetID(const QString &id) { m_id = id; }
    const QString &CandidateName() const { return m_candidateName; }
    void SetCandidateName(const QString &name) { m_candidateName = name; }

private:
    qint32 m_registrationNumber = 0;
    QString m_id;
    QString m_candidateName;
};
