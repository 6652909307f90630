// A process in which the window hears nobody but the harness.
#pragma once

#include <QApplication>

#include <memory>

// Enters a private network and makes the application; both stay until the process ends.
std::unique_ptr<QApplication> make_inbound_process();
