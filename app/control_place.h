#pragma once

/// Where one control stands, in client pixels of its window.
struct ControlPlace {
    int id;
    int x, y, width, height;
};
