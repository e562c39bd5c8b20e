// SPDX-License-Identifier: Apache-2.0
// An enclosure and its service by their rules, written from the documents and apart from the
// service's code: what must come of a command in messages, log lines and states. It knows steps,
// not transfers: a device answers all through a command or not at all.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/story/rows.h"
#include "tests/support/script.h"

using Bytes = std::vector<std::uint8_t>;

class Model {
  public:
    // `tuning`: the keys of the personality file.
    Model(const StoryRow& row, std::map<std::string, int> tuning);

    // A command of StoryService, but for routines and registers.
    void run(const std::string& command);
    // A change of composite faults: 0 gone, -1 present, 1 bus unavailable.
    void fault(U32_t bits, int status);

    // What came of it. The links of a message are 0; the last byte of a page, which is not sent, is
    // there. The log: "FUNCTION:  TEXT".
    std::vector<Bytes> messages;
    std::vector<std::string> log;
    std::string state() const;

  private:
    using Fields = std::vector<std::pair<std::size_t, U32_t>>;  // offset, value
    using Records = std::map<int, U32_t>;                       // of elements
    static constexpr int FANS = 8;
    static constexpr int SENSORS = 8;
    static constexpr int NO_PULSES = -1;  // in place of RPM
    static constexpr int UNREACHED = -2;
    static constexpr int UNREADABLE = 32767;
    static constexpr U32_t VOLTAGE = 1;  // supply conditions, and their faults
    static constexpr U32_t REDUNDANCY = 2;
    static constexpr U32_t LED_ON = 0x80000000;  // beside the faults
    static constexpr U32_t PSU_OK = 0x10000;     // LEDs behind the drives'
    static constexpr U32_t REDUNDANCY_FAIL = 0x20000;
    static constexpr U32_t FAN_FAIL = 0x40000;

    template <typename... Arguments>
    void say(const char* function, const char* text, const Arguments&... arguments);
    void startupSend(U8_t protocol, U32_t type, U32_t use1, U32_t use2);
    void event(U32_t id, U32_t type, const Fields& fields);
    void reply(U32_t command, const Bytes& page);
    void supplyEvent(U32_t type);
    void fanEvent();
    void alarmEvent(U32_t type);
    void busEvent(U32_t information, U32_t sensor, bool answers);

    // The enclosure.
    void touch(const std::string& verb, const Words& words);
    void supplyTouched();
    bool railsGood(int monitor) const;
    double chipDuty(int percent) const;
    void chipLoad(int fan, double duty);
    void hardAlarm(int state);
    void wait(int seconds);
    std::string alarmText() const;

    // The bus.
    bool answers(int device) const;
    bool transfer(const StoryDevice& device, bool answers);
    bool reach(int device);
    int monitorAt(int n) const;
    bool monitorAnswers(bool forFan, int n) const;
    bool reachMonitor(int n);
    bool reachFan(int fan);
    int fanPlace(int fan) const;

    // Composite faults.
    void alarmMove(int state);
    void faultBegin(U32_t bits);
    void faultEnd(U32_t bits);

    // Start-up.
    void start();
    bool bringUp();
    bool probe(bool answers, U32_t information, U32_t bit);
    bool vsc055Up();
    bool xyratexUp();
    bool w83792adUp();
    bool w83782dUp();
    bool chenbroUp();
    void fansUp();

    // Poll.
    void poll();
    std::vector<U32_t> supplyOrder() const;
    int supplyRead(U32_t bit);
    void supplySay(U32_t bit, bool good, bool changed, bool page);
    void supplyShow(U32_t bit, bool good, bool changed);
    bool supplyCheck(U32_t bit, bool page, bool* changed);
    int fanSpeed(int fan);
    bool fanMark(int fan, bool failed);
    int fanSweep();
    void fanLed(bool failed);
    int temperature(int sensor);
    void temperaturesRead();
    bool average();
    void load(int fan, int percent);
    void ladder(int fan);
    void fanPolicy();
    void band(int sensor);
    void overheat();
    void alarmSet(int state);
    int alarmRead();
    void alarmFollow();
    void ledWrite(U32_t bit, bool lit);

    // Pages.
    U32_t asked(const char* section, int n) const;
    void page();
    void drivesPage(std::vector<U32_t>* words);
    U32_t supplyPage(bool* changed);
    void suppliesPage(std::vector<U32_t>* words);
    U32_t fanPage(int fan, bool* changed);
    void fansPage(std::vector<U32_t>* words);
    void sensorsPage(std::vector<U32_t>* words);
    void alarmPage(std::vector<U32_t>* words);
    void put(const Words& words);
    void drivesPut();
    void suppliesPut();
    void fanPut(int fan, bool on);
    void alarmPut(U32_t request);

    int key(const char* name) const { return tuning_.at(name); }
    int fans() const { return key("coolingMaxNumber"); }
    int sensors() const { return key("temperatureSensorMaxNumber"); }
    int policyFans() const { return is(Board::xyratex) ? 2 : std::min(fans(), FANS); }
    int sensorsRead() const;
    bool is(Board board) const { return row_.board == board; }
    bool isVitesse() const { return is(Board::vsc055) || is(Board::xyratex); }

    const StoryRow& row_;
    std::map<std::string, int> tuning_;

    // The enclosure.
    int fitted_;  // fans
    std::vector<double> degrees_;
    std::map<std::string, double> rails_;
    std::set<int> pulled_, absent_;  // fans, drives
    std::set<std::string> cut_;      // devices
    bool redundant_ = true;
    double duty_[FANS];  // percent, as the chip drives it
    bool powered_ = true;
    U32_t ledsBooked_ = 0, ledsLit_ = 0;  // bit = drive, then the status LEDs
    bool ledsDriven_ = false;             // by the expander
    int hardAlarm_ = 0;                   // of the Xyratex chassis
    int muted_ = 0;                       // seconds
    bool supplyFault_ = false;            // as that alarm hears it
    std::set<int> quiet_;                 // monitors whose alarm is off

    // The service.
    U32_t type_ = KORVO_E_CHASSIS_NONE;
    int slots_ = 16, supplies_ = 3;
    bool connected_ = false;
    U32_t faults_ = 0, devices_ = 0, failedFans_ = 0, supply_ = 0, alarm_ = 0;
    bool moving_ = false;  // the alarm
    int load_[FANS] = {}, reading_[SENSORS] = {}, reported_[SENSORS] = {};
    int average_ = 0;
    std::map<std::string, Records> put_;  // by the latest control page
    Records lit_;                         // drives it was to light
};
