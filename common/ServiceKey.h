// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

// Under Registry::CurrentUser: the key of what the program keeps about the download service.
inline const QString ServiceKey = QStringLiteral("Software\\Practorum\\PackCourier");
