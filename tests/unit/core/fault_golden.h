// SPDX-License-Identifier: Apache-2.0
// What a critical fault writes for the state that esa_fault_test.cpp sets up: the box and the dump
// in the trace log ("@" stands for a row's address), and the state record of the alternate log.
#pragma once

constexpr char FAULT_TRACE_GOLDEN[] = R"(********************** Critical Error *********************
| File:      esamain.cpp
| Function:  main()
| Line:      42
| Message:   Linux select function fails, [7]
***********************************************************
esaControl.socketFdMSM                       = [16909060]
esaControl.socketAddressMSM.sun_path         = [/m/esadapter]
esaControl.i2cFileFd                         = [-2]
esaControl.enclosureType                     = [17]
esaControl.elementTypeMaxNumber              = [18]
esaControl.deviceMaxNumber                   = [19]
esaControl.powerSupplyMaxNumber              = [20]
esaControl.coolingMaxNumber                  = [21]
esaControl.temperatureSensorMaxNumber        = [22]
esaControl.audibleAlarmMaxNumber             = [23]
esaControl.pageCodeInRecentSndDiagCmd        = [255]
esaControl.sesTypeDescriptorList =
@ 191A1B1C1D
esaControl.deviceElementControlOverall       = [1001]
esaControl.deviceElementControl =
@ 4041424344454647 48494A4B4C4D4E4F 5051525354555657 58595A5B5C5D5E5F
@ 6061626364656667 68696A6B6C6D6E6F 7071727374757677 78797A7B7C7D7E7F
esaControl.deviceElementStatusOverall        = [1002]
esaControl.deviceElementStatus =
@ 8081828384858687 88898A8B8C8D8E8F 9091929394959697 98999A9B9C9D9E9F
@ A0A1A2A3A4A5A6A7 A8A9AAABACADAEAF B0B1B2B3B4B5B6B7 B8B9BABBBCBDBEBF
esaControl.driveFaultLedStatus0              = [0x89abcdef]
esaControl.driveFaultLedStatus1              = [0x12]
esaControl.powerSupplyElementControlOverall  = [1003]
esaControl.powerSupplyElementControl  =
@ C0C1C2C3C4C5C6C7 C8C9CACB
esaControl.powerSupplyElementStatusOverall   = [1004]
esaControl.powerSupplyElementStatus  =
@ D0D1D2D3D4D5D6D7 D8D9DADB
esaControl.powerSupplyStatus                 = [0x3]
esaControl.coolingElementControlOverall      = [1005]
esaControl.coolingElementControl  =
@ 0102030405060708 090A0B0C0D0E0F10 1112131415161718 191A1B1C1D1E1F20
esaControl.coolingElementStatusOverall       = [1006]
esaControl.coolingElementStatus  =
@ 2122232425262728 292A2B2C2D2E2F30 3132333435363738 393A3B3C3D3E3F40
esaControl.coolingElementOnOff  =
@ E0E1E2E3E4E5E6E7
esaControl.fanFaultStatus                    = [0x81]
esaControl.temperatureSensor[0]         = 1
esaControl.temperatureSensor[1]         = -1
esaControl.temperatureSensor[2]         = 32767
esaControl.temperatureSensor[3]         = -32768
esaControl.temperatureSensor[4]         = 25
esaControl.temperatureSensor[5]         = 258
esaControl.temperatureSensor[6]         = 0
esaControl.temperatureSensor[7]         = -40
esaControl.temperatureReportStatus[0]   = 1
esaControl.temperatureReportStatus[1]   = 2
esaControl.temperatureReportStatus[2]   = 3
esaControl.temperatureReportStatus[3]   = 4
esaControl.temperatureReportStatus[4]   = 16909060
esaControl.temperatureReportStatus[5]   = -1
esaControl.temperatureReportStatus[6]   = 0
esaControl.temperatureReportStatus[7]   = 9
esaControl.audibleAlarmElementControlOverall = [1007]
esaControl.audibleAlarmElementControl  =
@ F0F1F2F3
esaControl.audibleAlarmElementStatusOverall  = [1008]
esaControl.audibleAlarmElementStatus  =
@ F4F5F6F7
esaControl.alarmState                        = 4
esaControl.compositeFaultStatus              = [0x80000004]
esaControl.esaDebug                          = [1]
esaControl.vitesse.vsc055GPD  =
@ 5152535455565758
esaControl.vitesse.vsc055DDP  =
@ 6162636465666768
esaControl.vitesse.vsc055FSC  =
@ 7172737475767778
esaControl.selectTimeout.sec                 = [1]
esaControl.pollTimeout.sec                   = [10]
esaControl.esaInMsg  =
@ 0001020304050607 08090A0B0C0D0E0F 1011121314151617 18191A1B1C1D1E1F
@ 2021222324252627 28292A2B2C2D2E2F 3031323334353637 38393A3B3C3D3E3F
@ 4041424344454647 48494A4B4C4D4E4F 5051525354555657 58595A5B5C5D5E5F
@ 6061626364656667 68696A6B6C6D6E6F 7071727374757677 78797A7B7C7D7E7F
@ 8081828384858687 88898A8B8C8D8E8F 9091929394959697 98999A9B9C9D9E9F
@ A0A1A2A3A4A5A6A7 A8A9AAABACADAEAF B0B1B2B3B4B5B6B7 B8B9BABBBCBDBEBF
@ C0C1C2C3C4C5C6C7 C8C9CACBCCCDCECF D0D1D2D3D4D5D6D7 D8D9DADBDCDDDEDF
@ E0E1E2E3E4E5E6E7 E8E9EAEBECEDEEEF F0F1F2F3F4F5F6F7 F8F9FAFBFCFDFEFF
esaControl.esaWorkSpace  =
@ 0708090A0B0C0D0E 0F10111213141516 1718191A1B1C1D1E 1F20212223242526
@ 2728292A2B2C2D2E 2F30313233343536 3738393A3B3C3D3E 3F40414243444546
@ 4748494A4B4C4D4E 4F50515253545556 5758595A5B5C5D5E 5F60616263646566
@ 6768696A6B6C6D6E 6F70717273747576 7778797A7B7C7D7E 7F80818283848586
@ 8788898A8B8C8D8E 8F90919293949596 9798999A9B9C9D9E 9FA0A1A2A3A4A5A6
@ A7A8A9AAABACADAE AFB0B1B2B3B4B5B6 B7B8B9BABBBCBDBE BFC0C1C2C3C4C5C6
@ C7C8C9CACBCCCDCE CFD0D1D2D3D4D5D6 D7D8D9DADBDCDDDE DFE0E1E2E3E4E5E6
@ E7E8E9EAEBECEDEE EFF0F1F2F3F4F5F6 F7F8F9FAFBFCFDFE FF00010203040506

Finish the Enclosure Services Adapter internal data dump.)";

constexpr char INFO_GOLDEN[] = R"(
    01020304                          # socketFdMSM
    0001 2F6D2F65736164617074657200   # family, "/m/esadapter"
    00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
    00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
    00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00
    0000                              # gap
    FFFFFFFE                          # i2cFileFd
    11 12 13 14 15 16 17 FF           # type, counts, page code of the latest SEND DIAGNOSTIC
    19 1A 1B 1C 1D                    # element types
    000000                            # gap
    000003E9                          # devices: control overall, elements
    40 41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E 4F
    50 51 52 53 54 55 56 57 58 59 5A 5B 5C 5D 5E 5F
    60 61 62 63 64 65 66 67 68 69 6A 6B 6C 6D 6E 6F
    70 71 72 73 74 75 76 77 78 79 7A 7B 7C 7D 7E 7F
    000003EA                          # status overall, elements
    80 81 82 83 84 85 86 87 88 89 8A 8B 8C 8D 8E 8F
    90 91 92 93 94 95 96 97 98 99 9A 9B 9C 9D 9E 9F
    A0 A1 A2 A3 A4 A5 A6 A7 A8 A9 AA AB AC AD AE AF
    B0 B1 B2 B3 B4 B5 B6 B7 B8 B9 BA BB BC BD BE BF
    89ABCDEF 00000012                 # drive fault LEDs
    000003EB                          # power supplies
    C0 C1 C2 C3 C4 C5 C6 C7 C8 C9 CA CB
    000003EC
    D0 D1 D2 D3 D4 D5 D6 D7 D8 D9 DA DB
    00000003                          # powerSupplyStatus
    000003ED                          # fans
    01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10
    11 12 13 14 15 16 17 18 19 1A 1B 1C 1D 1E 1F 20
    000003EE
    21 22 23 24 25 26 27 28 29 2A 2B 2C 2D 2E 2F 30
    31 32 33 34 35 36 37 38 39 3A 3B 3C 3D 3E 3F 40
    E0 E1 E2 E3 E4 E5 E6 E7           # on, off
    00000081                          # fanFaultStatus
    0001 FFFF 7FFF 8000 0019 0102 0000 FFD8   # temperatures
    00000001 00000002 00000003 00000004       # bands reported
    01020304 FFFFFFFF 00000000 00000009
    000003EF                          # alarms
    F0 F1 F2 F3
    000003F0
    F4 F5 F6 F7
    00000004 80000004 01              # alarmState, compositeFaultStatus, esaDebug
    51 52 53 54 55 56 57 58           # VSC055: GPD, DDP, FSC, PWMC
    61 62 63 64 65 66 67 68
    71 72 73 74 75 76 77 78
    91 92 93 94 95 96 97 98
    000000                            # gap
    00000001 000003E7                 # selectTimeout
    0000000A 00000005                 # pollTimeout
)";
