/** What the tests of the open platform share. */
#ifndef KXINFO_TESTS_PLATFORM_GIGE_SUPPORT_H
#define KXINFO_TESTS_PLATFORM_GIGE_SUPPORT_H

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "GenApi/GenApi.h"
#include "device.h"
#include "gevapi.h"
#include "kxgige.h"
#include "timing.h"

/** A GenICam description with \p nodes, of schema version 1.\p minor; registers are at "Device". */
inline std::string descriptionOf(const std::string &nodes, int minor = 1) {
    const std::string version = std::to_string(minor);
    return R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="Model" VendorName="Scripted" StandardNameSpace="GEV"
 SchemaMajorVersion="1" SchemaMinorVersion=")" +
           version + R"(" SchemaSubMinorVersion="0" MajorVersion="1" MinorVersion="0"
 SubMinorVersion="0" ToolTip="" ProductGuid="1" VersionGuid="2"
 xmlns="http://www.genicam.org/GenApi/Version_1_)" +
           version + R"(">
<Category Name="Root" NameSpace="Standard"/>
)" + nodes +
           R"(<Port Name="Device"/></RegisterDescription>)";
}

/** The elements of a register: 4 bytes at \p address unless \p more says otherwise. */
inline std::string atAddress(const std::string &address, const std::string &more = "",
                             const std::string &mode = "RW", const std::string &length = "4") {
    return more + "<Address>" + address + "</Address><Length>" + length + "</Length><AccessMode>" +
           mode + "</AccessMode><pPort>Device</pPort>";
}

/** An unsigned integer register. */
inline std::string intReg(const std::string &name, const std::string &address,
                          const std::string &more = "", const std::string &mode = "RW") {
    return "<IntReg Name=\"" + name + "\">" + atAddress(address, more, mode) +
           "<Sign>Unsigned</Sign><Endianess>BigEndian</Endianess></IntReg>\n";
}

/** A record as discovery makes it, of a camera found from 127.0.0.1. */
inline GEV_CAMERA_INFO recordOf(const std::string &address) {
    GEV_CAMERA_INFO info{};
    info.ipAddr = addressOf(address);
    info.hostIpAddr = INADDR_LOOPBACK;
    return info;
}

/** The description of the exception of class \p E that \p call raises, or what happened instead. */
template <class E, class Call>
std::string raisedBy(Call call) {
    try {
        call();
    } catch (const E &error) {
        return error.GetDescription();
    } catch (const std::exception &error) {
        return std::string("another exception: ") + error.what();
    }
    return "no exception";
}

/** A camera with registers, and a description of them. */
class ScriptedCamera : public Device {
public:
    explicit ScriptedCamera(const std::string &address, const Identity &identity = Identity())
        : Device(address, identity) {
        set(peer::kCapability, 3);            // writing memory, several registers at once
        set(peer::kHeartbeatTimeout, 60'000); // which no computer is too busy for
    }

    /** Which commands have come, and for what; not discovery, heartbeats and repetitions. */
    std::vector<std::pair<uint16_t, uint32_t>> accesses() const {
        std::vector<std::pair<uint16_t, uint32_t>> found;
        for (const Received &each : received()) {
            if (each.number && !each.repeated &&
                !each.is(peer::ReadRegister, peer::kControlPrivilege))
                found.emplace_back(each.command, each.word(0));
        }
        return found;
    }

    uint32_t controlPrivilege() const { return get(peer::kControlPrivilege); }
};

inline auto reading(uint32_t address) {
    return testing::Pair(peer::ReadMemory, address);
}
inline auto readingByCommand(uint32_t address) {
    return testing::Pair(peer::ReadRegister, address);
}
inline auto writing(uint32_t address) {
    return testing::Pair(peer::WriteMemory, address);
}

/** A scripted camera at 127.0.0.2 that the platform has opened in control mode. */
class OpenedCamera : public testing::Test {
protected:
    static constexpr const char *kAddress = "127.0.0.2";

    ~OpenedCamera() override { GevApiUninitialize(); }

    /** Opened, and found to have its registers in memory as described. */
    void open(const std::string &nodes, GevAccessMode mode = GevControlMode, int schemaMinor = 1) {
        openFresh(nodes + intReg("Telling", "0xf00"), mode, schemaMinor);
        camera.set(0xf00, 1);
        ASSERT_EQ(1, integer("Telling").GetValue());
        camera.forget();
    }

    void openFresh(const std::string &nodes, GevAccessMode mode = GevControlMode,
                   int schemaMinor = 1) {
        camera.describe(descriptionOf(nodes, schemaMinor));
        GEV_CAMERA_INFO info = recordOf(kAddress);
        ASSERT_EQ(GEVLIB_OK, GevOpenCamera(&info, mode, &handle));
        map = static_cast<GenApi_3_0::CNodeMapRef *>(GevGetFeatureNodeMap(handle));
        ASSERT_NE(nullptr, map);
        camera.forget();
    }

    GenApi_3_0::INode *node(const char *name) const { return map->_GetNode(name); }

    /** The node's value interface; a missing node or one of another kind is a bad cast. */
    template <class Interface>
    Interface &as(const char *name) const {
        return dynamic_cast<Interface &>(*node(name));
    }
    GenApi_3_0::IInteger &integer(const char *name) const { return as<GenApi_3_0::IInteger>(name); }
    GenApi_3_0::IFloat &floating(const char *name) const { return as<GenApi_3_0::IFloat>(name); }
    GenApi_3_0::IEnumeration &enumeration(const char *name) const {
        return as<GenApi_3_0::IEnumeration>(name);
    }
    GenApi_3_0::IBoolean &boolean(const char *name) const { return as<GenApi_3_0::IBoolean>(name); }

    ScriptedCamera camera{kAddress};
    GEV_CAMERA_HANDLE handle = nullptr;
    GenApi_3_0::CNodeMapRef *map = nullptr;
};

#endif
