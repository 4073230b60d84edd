// The scan LED behind either generation of the Android lights service. One object per process,
// owned by LightHal; the LED modules borrow it.
#pragma once

class LightInterface {
  public:
    virtual ~LightInterface() {}
    // Sends the stored state to the service.
    virtual void setlight() = 0;
    // Stores a colour (32-bit ARGB) with flashing off; nothing is sent.
    virtual void setcolor(int color) = 0;
};
