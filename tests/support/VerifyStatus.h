#pragma once

#include <QTest>

#include "records/Result.h"

// Passes when the record layer's Status (or Result) is ok, and shows its message when it is not.
#define VERIFY_OK(expr)                                        \
    do {                                                       \
        const Status verifyOk_ = (expr);                       \
        QVERIFY2(verifyOk_.ok(), qPrintable(verifyOk_.error)); \
    } while (false)
