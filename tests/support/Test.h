// SPDX-License-Identifier: Apache-2.0
#pragma once

// What nearly every test needs.

#include "model/Globals.h"
#include "tests/support/ExamBuilder.h"
#include "tests/support/ExpectError.h"
#include "tests/support/Sandbox.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <functional>

using namespace Qt::Literals::StringLiterals;
