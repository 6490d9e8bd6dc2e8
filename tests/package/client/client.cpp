// A client as a user of the installed library writes it.
#include "rksignal.h"

#include <iostream>

int main()
{
    baseSignalDef_t def;
    def.instance = "Speed";
    def.signal = "VehSpeed";
    def.unit = "km/h";
    def.bits = 8;
    BaseSignal speed(def);
    speed.write(42, 1);
    double value = 0;
    unsigned long timestamp = 0;
    speed.read(value, timestamp);
    std::cout << "client: " << speed.def.instance << " = " << value << ' ' << speed.getUnit() << std::endl;
    return value == 42 ? 0 : 1;
}
