// A running upload, as far as list and assistant tell of it.
#pragma once

struct UploadState
{
    int percent = 0; // 0 to 100
    bool is_active = false;
};
