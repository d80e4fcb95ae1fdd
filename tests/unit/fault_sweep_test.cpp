// An error of the camera at every single access of a whole probe, of every kind there is.
//
// A probe without an error is the reference: it tells in which order things happen. Of a probe
// whose k-th access raises an error everything is known then. Until that access it is the
// reference; after it come the line that tells of the error and the closing lines, and nothing else
// happens but the export, the closing and the shutting down. The gamma step alone goes on, with
// what it has read, and all later steps run. What the camera is left with follows from the writes
// that a probe makes, which are listed here and not taken from the reference.

#include "plug_in.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>

namespace {

template <typename Error>
bool isBeingHandled() {
    try {
        throw;
    } catch (const Error &) {
        return true;
    } catch (...) {
        return false;
    }
}

struct Kind {
    const char *name;
    Fault fault;
    int status;
    bool (*isBeingHandled)();
};

const Kind kKinds[] = {
    {"invalid argument", Fault::InvalidArgument, -3,
     isBeingHandled<GenICam_3_0::InvalidArgumentException>},
    {"property", Fault::Property, 0, isBeingHandled<GenICam_3_0::PropertyException>},
    {"logical error", Fault::LogicalError, -14, isBeingHandled<GenICam_3_0::LogicalErrorException>},
    {"out of range", Fault::OutOfRange, -13, isBeingHandled<GenICam_3_0::OutOfRangeException>},
    {"runtime", Fault::Runtime, -1, isBeingHandled<GenICam_3_0::RuntimeException>},
    {"access", Fault::Access, -17, isBeingHandled<GenICam_3_0::AccessException>},
    {"timeout", Fault::Timeout, -6, isBeingHandled<GenICam_3_0::TimeoutException>},
    {"dynamic cast", Fault::DynamicCast, -2, isBeingHandled<GenICam_3_0::DynamicCastException>},
    {"standard library", Fault::StdRuntimeError, -14, isBeingHandled<std::runtime_error>},
    {"number", Fault::Number, -1, isBeingHandled<int>},
};

// What a camera's lookup table does before the probe, and what follows from it.
struct Table {
    const char *name;
    const char *mode;
    const char *type;
    std::vector<Event> writes; // of the gamma step
    // How many accesses the gamma step makes, and how many of them until it knows the range and
    // until it knows the value.
    std::size_t accesses;
    std::size_t untilRange;
    std::size_t untilValue;
};

// The state takes two lookups and two reads, putting it two lookups and its writes, the range a
// lookup and three reads, the value a lookup and a read.
std::vector<Table> tables() {
    const Event gamma = write("lutType", "GammaCorrection");
    const Event active = write("lutMode", "Active");
    const Event off = write("lutMode", "Off");
    return {
        {"table off", "Off", "UserDefined", {gamma, active, off}, 25, 16, 22},
        {"user table",
         "Active",
         "UserDefined",
         {gamma, active, write("lutType", "UserDefined"), write("lutSize", "Bpp12"), active},
         28,
         16,
         22},
        // The report has read the range already, so the step has it with the state.
        {"gamma on", "Active", "GammaCorrection", {}, 10, 4, 10},
    };
}

// All that a probe writes, in order: outside its gamma step the same for every table.
std::vector<Event> writesOf(const Table &table) {
    const Event gain = write("GainSelector", "SensorAll");
    std::vector<Event> all = {write("DeviceTemperatureSelector", "Internal"), gain, gain, gain};
    const auto add = [&](const std::vector<Event> &more) {
        all.insert(all.end(), more.begin(), more.end());
    };
    add(table.writes);

    const Event active = write("autoBrightnessMode", "Active");
    const Event off = write("autoBrightnessMode", "Off");
    const Event source = write("gainAutoSource", "SensorAll");
    add({active, off, active, off});                                      // target
    add({active, write("GainAuto", "Continuous"), source, off});          // gain, lower limit
    add({active, source, off});                                           // its range
    add({active, source, off, active, source, off});                      // gain, upper limit
    add({active, write("ExposureAuto", "Continuous"), off, active, off}); // exposure, lower
    add({active, off, active, off});                                      // exposure, upper
    return all;
}

// All that is published of the camera, in order, when no error comes between.
std::vector<Publication> publicationsWithoutError() {
    return {
        integers(KxScParamOffsetX, 8, 0, 1920, 8),
        integers(KxScParamOffsetY, 4, 0, 1200, 4),
        integers(KxScParamWidth, 1920, 16, 1936, 16),
        integers(KxScParamHeight, 1200, 2, 1216, 2),
        floats(KxScParamFps, 29.97f, 1.0f, 60.0f, 0.1f),
        {KxScParamRotate, 0, {}, {}, {}},
        floats(KxScParamGain, 20.0f, 0.0f, 40.0f, 0.5f),
        floats(KxScParamExposure, 5000.0f, 20.0f, 1000000.0f, 1.0f),
        floats(KxScParamGamma, 0.5f, 0.25f, 4.0f, 0.1f),
        floats(KxScParamAutoBrightTarget, 128.0f / 255.0f, 0.0f, 1.0f, 1.0f / 255.0f),
        floats(KxScParamAutoGainLower, 0.0f, 0.0f, decibels(8.0f), 0.5f),
        floats(KxScParamAutoGainUpper, 20.0f, 0.0f, 40.0f, 0.5f),
        floats(KxScParamAutoExpoLower, 100.0f, 20.0f, 1000.0f, 2.0f),
        floats(KxScParamAutoExpoUpper, 20000.0f, 1000.0f, 33000.0f, 4.0f),
        {KxScParamOutLines, "None", "\"None\", \"Out1\", \"Out2\"", {}, {}},
    };
}

bool isWrite(const Event &event) {
    return event.op == Op::FromString || event.op == Op::SetValue || event.op == Op::SetIntValue;
}
bool isLog(const Event &event) {
    return event.op == Op::Log;
}
bool isAccess(const Event &event) {
    return event.op != Op::Call && !isLog(event);
}
bool isPublication(const Event &event) {
    return event.op == Op::Call && event.subject == call("KxSc__SetParamVal").subject;
}

// Where two sequences of events part, in words; empty when they are the same.
std::string difference(const std::vector<Event> &expected, const std::vector<Event> &seen) {
    if (expected == seen)
        return {};
    std::size_t i = 0;
    while (i < expected.size() && i < seen.size() && expected[i] == seen[i])
        ++i;
    std::ostringstream words;
    words << "event " << i << ": expected ";
    i < expected.size() ? words << expected[i] : words << "the end";
    words << ", seen ";
    i < seen.size() ? words << seen[i] : words << "the end";
    return words.str();
}

// The first elements, as many as told; and those that come after them.
template <typename T>
std::vector<T> first(const std::vector<T> &all, std::size_t count) {
    return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)};
}
template <typename T>
std::vector<T> after(const std::vector<T> &all, std::size_t count) {
    return {all.begin() + static_cast<std::ptrdiff_t>(count), all.end()};
}
template <typename T>
void append(std::vector<T> &to, const std::vector<T> &more) {
    to.insert(to.end(), more.begin(), more.end());
}

// How many of the first events are of that sort.
std::size_t count(bool (*sort)(const Event &), const std::vector<Event> &events, std::size_t end) {
    return static_cast<std::size_t>(std::count_if(events.data(), events.data() + end, sort));
}

std::size_t placeOf(const Event &event, const std::vector<Event> &events) {
    return static_cast<std::size_t>(std::find(events.begin(), events.end(), event) -
                                    events.begin());
}

using Values = std::map<std::string, std::string>;

// What can be seen of one probe.
struct Seen {
    int exitCode = -99;
    std::vector<Event> events; // with the lines of the system log
    std::vector<Publication> published;
    Values values; // of all features, afterwards
    long blocksLeft = 0;
    bool open = true;
};

class FaultSweep : public Probe {
protected:
    void describe(const Table &table) {
        scripted::reset();
        host::reset();
        framework.sees({{"Teledyne DALSA", "Nano-M2020", "S1234"}})
            .featureValue("PixelFormat", 0x01080001);
        describeWholeCamera(camera);
        camera.enumeration("DeviceTemperatureSelector", "Mainboard", {"Internal", "Mainboard"});
        camera.enumeration("lutMode", table.mode, {"Off", "Active"});
        camera.enumeration("lutType", table.type, {"UserDefined", "GammaCorrection"});
        camera.feature("gammaCorrection").range(0.25, 4.0, 0.05);
        // One gain for all entries of its selector: no value but a written one changes.
        camera.floating("Gain", 10.0).range(1.0, 100.0);
    }

    Values valuesNow() const {
        Values values;
        for (const std::string &name : camera.names())
            values[name] = camera.value(name);
        return values;
    }

    // Probes the camera as it has been described.
    Seen run() {
        Seen seen;
        host::caught([&] {
            const long before = host::liveBlocks();
            seen.exitCode = Vendor__Proc("S12", kBothSinks, KX_LOG_LEVEL_DEBUG);
            seen.blocksLeft = host::liveBlocks() - before;
        });
        seen.events = trace();
        seen.published = published();
        seen.values = valuesNow();
        seen.open = framework.isOpen();
        return seen;
    }

    void sweep(const Table &table);

private:
    Seen expected(const Table &table, const Seen &reference, std::size_t access,
                  const Kind &kind) const;
    static void expectSame(const Seen &expected, const Seen &seen);
};

// Of a probe of that camera whose access of that number, from 0 on, raises that error.
Seen FaultSweep::expected(const Table &table, const Seen &reference, std::size_t access,
                          const Kind &kind) const {
    const std::vector<Event> &events = reference.events;
    std::size_t at = 0; // the event that the access is
    for (std::size_t left = access;; ++at) {
        if (isAccess(events[at]) && left-- == 0)
            break;
    }
    const std::size_t publications = count(isPublication, events, at);

    Seen all;
    all.exitCode = 0;
    all.open = false;
    all.events = first(events, at + 1);
    all.published = first(reference.published, publications);
    const std::vector<Event> allWrites = writesOf(table);
    std::vector<Event> written = first(allWrites, count(isWrite, events, at));
    const std::string status = std::to_string(kind.status);

    const std::size_t stepBegins = placeOf(setParamVal(KxScParamExposure), events);
    const std::size_t stepEnds = placeOf(setParamVal(KxScParamGamma), events);
    if (at > stepBegins && at < stepEnds) {
        const std::size_t done = access - count(isAccess, events, stepBegins);
        const bool hasRange = done >= table.untilRange;
        const bool hasValue = done >= table.untilValue;
        append(
            all.events,
            {debug("ProcParametrizeCamGamma"),
             debug(std::string("ProcParametrizeCamGamma ") + (hasValue ? "0.500000" : "0.000000") +
                   (hasRange ? " 0.250000 4.000000 0.050000 " : " -1.000000 -1.000000 0.000000 ") +
                   status)});
        all.published.push_back(floats(KxScParamGamma, hasValue ? 0.5f : 0.0f,
                                       hasRange ? 0.25f : -1.0f, hasRange ? 4.0f : -1.0f,
                                       hasRange ? 0.05f : 0.0f));
        // From its publication on, all is as without the error.
        append(all.events, after(events, stepEnds));
        append(all.published, after(reference.published, publications + 1));
        append(written, after(allWrites, count(isWrite, events, stepEnds)));
    } else {
        append(all.events,
               {debug("ProcOnce"), debug("ProcOnce " + status + " 0"), debug("KxTd__Proc 0"),
                procExport(), closeCamera(), debug("_t_kxtd_check_loop"), apiUninitialize(),
                closeSocketApi(), debug("_t_kxtd_check_loop 0")});
    }

    all.values = valuesNow();
    for (const Event &event : written)
        all.values[std::string(event.subject.view())] = event.detail.view();
    return all;
}

void FaultSweep::expectSame(const Seen &expected, const Seen &seen) {
    EXPECT_EQ(expected.exitCode, seen.exitCode);
    EXPECT_EQ("", difference(expected.events, seen.events));
    EXPECT_EQ(expected.published, seen.published);
    EXPECT_EQ(1, std::count(seen.events.begin(), seen.events.end(), procExport()));
    EXPECT_EQ(expected.values, seen.values);
    EXPECT_EQ(expected.open, seen.open);
    EXPECT_EQ(expected.blocksLeft, seen.blocksLeft);
}

void FaultSweep::sweep(const Table &table) {
    // The first probe of a process opens the system log and lets the library make its buffers.
    describe(table);
    run();

    describe(table);
    const Seen reference = run();
    const std::size_t accesses = camera.accessCount();
    ASSERT_EQ(0, reference.exitCode);
    ASSERT_EQ(0, reference.blocksLeft);
    std::vector<Event> written;
    std::copy_if(reference.events.begin(), reference.events.end(), std::back_inserter(written),
                 isWrite);
    ASSERT_EQ("", difference(writesOf(table), written));
    ASSERT_EQ(static_cast<std::ptrdiff_t>(accesses),
              std::count_if(reference.events.begin(), reference.events.end(), isAccess));
    ASSERT_EQ(publicationsWithoutError(), reference.published);
    ASSERT_EQ(table.accesses, count(isAccess, reference.events,
                                    placeOf(setParamVal(KxScParamGamma), reference.events)) -
                                  count(isAccess, reference.events,
                                        placeOf(setParamVal(KxScParamExposure), reference.events)));

    int cases = 0;
    for (std::size_t access = 0; access < accesses; ++access) {
        for (const Kind &kind : kKinds) {
            describe(table);
            const Seen wanted = expected(table, reference, access, kind);
            camera.raiseAt(access + 1, kind.fault);
            expectSame(wanted, run());
            ++cases;
            ASSERT_FALSE(HasFailure())
                << table.name << ", " << kind.name << " error at access " << access + 1;
        }
    }

    std::cout << "fault sweep, " << table.name << ": " << accesses << " accesses, " << cases
              << " cases\n";
    RecordProperty("cases", cases);
    EXPECT_LE(1900, cases);
}

TEST_F(FaultSweep, OfACameraWhoseLookupTableIsOff) {
    sweep(tables()[0]);
}

TEST_F(FaultSweep, OfACameraThatAppliesAUserTable) {
    sweep(tables()[1]);
}

TEST_F(FaultSweep, OfACameraThatAppliesItsGamma) {
    sweep(tables()[2]);
}

// Before there is a scenario.

TEST_F(FaultSweep, OfACameraObjectThatCannotBeMade) {
    describe(tables()[0]);
    run();

    int cases = 0;
    for (const Kind &kind : kKinds) {
        SCOPED_TRACE(kind.name);
        describe(tables()[0]);
        framework.nodeMapRaises(kind.fault);
        bool left = false;
        long blocksLeft = -1;
        host::caught([&] {
            const long before = host::liveBlocks();
            try {
                Vendor__Proc("S12", kBothSinks, KX_LOG_LEVEL_DEBUG);
            } catch (...) {
                left = kind.isBeingHandled();
            }
            blocksLeft = host::liveBlocks() - before;
        });

        const std::string all = happened();
        EXPECT_TRUE(left);
        EXPECT_EQ(0u, all.find("[d|_t_kxtd_check_loop] GevGetCameraList(8)")) << all;
        const std::string end = "GevOpenCamera(0, 2) GevGetFeatureNodeMap()";
        EXPECT_EQ(end, all.substr(all.size() - end.size()));
        EXPECT_THAT(published(), IsEmpty());
        EXPECT_TRUE(framework.isOpen());
        EXPECT_EQ(0, blocksLeft);
        ++cases;
    }
    EXPECT_EQ(10, cases);
}

} // namespace
