// What came of the uploads that were started together, in the words of the status bar.
#pragma once

#include <QString>

#include <vector>

struct UploadFailure
{
    QString device = {}; // its name, else its id
    QString reason = {};
};

// One round: what was started while nothing else ran, and what joined it since. Each device counts
// once, with its latest upload.
struct UploadSummary
{
    int total = 0; // those refused before their transfer included
    int running = 0;
    int succeeded = 0;
    int percent = 0; // over all transfers of the round; ended ones count as whole
    std::vector<UploadFailure> failures = {}; // in the order in which they were started
};

// "Updating 25 devices, 42 %" while transfers run, "22 of 25 uploads succeeded; failed: A, B, C"
// afterwards; empty before the first round. Of more than five names the first five are told.
QString upload_message(const UploadSummary &summary);

// A line for each failure, "PA left 4: timeout"; empty without one.
QString upload_failure_list(const UploadSummary &summary);
