// SPDX-License-Identifier: Apache-2.0
// The enclosure's bus: what the adapter can, and who answers.
#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "chassis/table.h"
#include "esa_evl.h"
#include "i2c.h"
#include "tools/doctor/checks.h"

namespace doctor {

namespace {

constexpr char ADAPTER[] = "I2C adapter";
constexpr U8_t SAFE_REGISTER = 0;  // of every chip here: reading it changes nothing

const char* chipName(U32_t information) {
    switch (information) {
        case ESA_E_EVENT_INFO_I2C_BUS_STATUS_VSC055:
            return "VSC055";
        case ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75:
            return "LM75";
        case ESA_E_EVENT_INFO_I2C_BUS_STATUS_W83792AD:
            return "W83792AD";
        case ESA_E_EVENT_INFO_I2C_BUS_STATUS_PCA9539:
            return "PCA9539";
        default:
            return "chip";
    }
}

// An LM75 counts where the personality file counts its sensor; the service reads no other.
bool isUsed(const EsaI2cDevice_t& device) {
    return device.information != ESA_E_EVENT_INFO_I2C_BUS_STATUS_LM75 ||
           device.sensor < esaControl.temperatureSensorMaxNumber;
}

struct Answers {
    std::vector<std::string> here;
    std::vector<std::string> missing;
};

// A driver of the kernel that holds the address is in the way of an SMBus-only adapter (EBUSY).
void ask(int fd, const EsaI2cDevice_t& device, Answers& answers) {
    U8_t value = 0;
    std::string name = fmt::format("{} {:#04x}", chipName(device.information), device.address);
    if (read_i2c_data(fd, device.address, SAFE_REGISTER, &value, 1) == 0) {
        answers.here.push_back(name);
    } else {
        answers.missing.push_back(fmt::format("{} ({})", name, std::strerror(errno)));
    }
}

Finding chipsOf(const EsaChassis_t& row, bool chosen, int fd) {
    Answers answers;
    for (const EsaI2cDevice_t& device : row.i2cDevices) {
        if (!chosen || isUsed(device)) {
            ask(fd, device, answers);
        }
    }
    std::string found = answers.here.empty()
                            ? std::string("none answers")
                            : fmt::format("{} answer", fmt::join(answers.here, ", "));
    const std::string subject = fmt::format("chips of {}", row.facts.title);
    if (!chosen || answers.missing.empty()) {
        return {chosen ? Severity::fine : Severity::note, subject, found};
    }
    return {Severity::unusable, subject,
            fmt::format("{}; missing {}", found, fmt::join(answers.missing, ", ")),
            "power, cable, adapter; EBUSY: unbind the kernel's driver of that chip"};
}

void checkChips(int fd, Findings& findings) {
    for (const EsaChassis_t* const row : esaChassisTableInUse()) {
        const bool chosen = row == esaChassisOf(esaControl.enclosureType);
        if (!row->i2cDevices.empty() && (chosen || !row->names.empty())) {
            findings.push_back(chipsOf(*row, chosen, fd));
        }
    }
}

Finding adapterFinding(const std::string& path, unsigned long functions) {
    if ((functions & I2C_FUNC_I2C) != 0) {
        return {Severity::fine, ADAPTER, path + ": plain I2C"};
    }
    if ((functions & I2C_FUNC_SMBUS_BYTE_DATA) == I2C_FUNC_SMBUS_BYTE_DATA) {
        return {Severity::note, ADAPTER, path + ": SMBus only, byte data",
                "no kernel driver may be bound to the enclosure's chips"};
    }
    return {Severity::unusable, ADAPTER, path + ": neither I2C nor SMBus byte data",
            "link another adapter"};
}

}  // namespace

void checkBus(const std::string& path, const Account& account, Findings& findings) {
    const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    unsigned long functions = 0;
    if (fd < 0 || ioctl(fd, I2C_FUNCS, &functions) < 0) {
        findings.push_back({Severity::unusable, ADAPTER, path + ": " + std::strerror(errno),
                            errno == EACCES ? "run as root, or as a member of its group"
                                            : "load i2c-dev; the udev rule makes the link"});
    } else {
        findings.push_back(adapterFinding(path, functions));
        begin_i2c_data(fd);
        checkChips(fd, findings);
    }
    if (fd >= 0) {
        close(fd);
        const bool isReal = access(path.c_str(), F_OK) == 0;  // a lab's is not
        const std::string obstacle =
            isReal ? account.obstacle(path, MAY_READ | MAY_WRITE) : std::string();
        if (!obstacle.empty()) {
            findings.push_back({Severity::unusable, ADAPTER,
                                fmt::format("{}: {} may not use it", obstacle, account.name),
                                "udev rule: GROUP=\"i2c\", MODE=\"0660\""});
        }
    }
}

}  // namespace doctor
