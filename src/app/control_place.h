#pragma once

/// The place of one control, in client pixels of its window.
struct ControlPlace {
    int id;
    int x, y, width, height;
};
