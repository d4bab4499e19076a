// What every test of the whole daemon starts from: a host directory, a receiver, a tray process
// and a daemon that is not started yet. The test program runs in a box of its own, so queues,
// log and pid file are this test's alone.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "tests/daemon/support/Await.h"
#include "tests/daemon/support/Daemon.h"
#include "tests/daemon/support/DaemonLog.h"
#include "tests/daemon/support/HostDir.h"
#include "tests/daemon/support/Queues.h"
#include "tests/daemon/support/Receiver.h"

class DaemonTest : public ::testing::Test
{
protected:
    DaemonTest();
    ~DaemonTest() override;

    // Writes vkApp.ini and starts the daemon. Settings that a test does not give: Url is the
    // receiver's, and Delay so long that one sweep is all there is.
    void Start();

    // Start in a directory that has a SimpleRoom, and the device's body arrived.
    void StartSimpleRoom();

    // Expects that the daemon ends by itself with that exit status.
    void ExpectExit(int status);

    CHostDir host;
    CReceiver receiver;
    CTray tray;
    CDaemon daemon;

private:
    void TearDown() override;
    bool m_hasEnded = false; // by itself, as the test expected
};

// The last body of a sweep, whatever the machine's figures are.
extern const char* const kHostStatusPattern;
