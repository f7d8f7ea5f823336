#pragma once
#include "engines/ConnectionTestState.h"

#include <QtQml/qqmlregistration.h>

/// Makes the connection test's states known to the settings window's QML by name.
struct ConnectionTestStateForeign
{
    Q_GADGET
    QML_FOREIGN(ConnectionTestState)
    QML_NAMED_ELEMENT(ConnectionTestState)
    QML_UNCREATABLE("Owned by the settings window")
};
