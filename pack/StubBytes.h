#pragma once

#include <QByteArrayView>

// The stub of a pack, which the build has put into this program.
QByteArrayView StubBytes();
