// The scripted platform's camera in the framework's place: floats have no increment, and one feature
// cannot be put back.

#include "scripted.h"

namespace {

using namespace scripted;

__attribute__((constructor)) void describe() {
    framework().sees({{"Teledyne DALSA", "C1936", "S1234"}});
    Camera &one = camera();
    one.raisesWithoutIncrement();
    one.integer("WidthMax", 1936).access(GenApi_3_0::RO);
    one.integer("HeightMax", 1216).access(GenApi_3_0::RO);
    one.integer("OffsetX", 0).range(0, 0, 4);
    one.integer("OffsetY", 0).range(0, 0, 2);
    one.integer("Width", 1936).range(16, 1936, 16);
    one.integer("Height", 1216).range(4, 1216, 4);
    // When it is put back, and once more.
    for (int i = 0; i < 2; ++i)
        one.raises(Op::SetValue, Fault::Access, 2);
    one.floating("AcquisitionFrameRate", 30.0).range(1.0, 60.0);
    one.enumeration("GainSelector", "AnalogAll", {"AnalogAll", "SensorAll"});
    one.floating("Gain", 2.0).range(1.0, 8.0);
    one.boolean("ReverseX", false);
}

} // namespace
