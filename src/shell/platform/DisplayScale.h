#pragma once
// How large a display wants things.

/// What the system says of a display. Zero or null where it says nothing.
struct DisplayWords {
  const char* GdkScale = nullptr;  ///< whole number, environment
  const char* XftDpi = nullptr;    ///< dots per inch, resource of the X server
  double MeasuredDpi = 0;          ///< from the display's size in millimetres
};
/// Scale 1 .. 3 in steps of 0.25; 96 dots per inch are 1. What a person or a desktop has set wins over what was measured, and a
/// measurement that no display can have is not believed.
float ChooseDisplayScale(const DisplayWords& words);
