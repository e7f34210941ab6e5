#pragma once

#include <gtest/gtest.h>

#include <string>

#include "kvxml/base/CKvException.h"
#include "support/KvTestText.h"

// Expects `stmt` to throw exactly `Type` (or a subclass) with the message `msg`.
#define EXPECT_KV_THROW(stmt, Type, msg)                                   \
    do {                                                                   \
        bool kvThrown = false;                                             \
        try {                                                              \
            stmt;                                                          \
        } catch (const Type& e) {                                          \
            kvThrown = true;                                               \
            EXPECT_EQ(KvTest::N(e.GetMessage()), KvTest::N(msg)) << #stmt; \
        }                                                                  \
        EXPECT_TRUE(kvThrown) << #stmt << " did not throw " #Type;         \
    } while (0)
