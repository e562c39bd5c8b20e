# Single operations of the Xyratex chassis.

== Drive fault LEDs are active low bits of ports seven and six
> up xyratex; hide fields
> call xyratexDriveFaultLEDSet 0; call xyratexDriveFaultLEDSet 7; call xyratexDriveFaultLEDSet 8; call xyratexDriveFaultLEDSet 11
Set Fault LED on Drive [0]
W 63 07=FE
 = 0
Set Fault LED on Drive [7]
W 63 07=7E
 = 0
Set Fault LED on Drive [8]
W 63 06=2E
 = 0
Set Fault LED on Drive [11]
W 63 06=26
 = 0
> call xyratexDriveFaultLEDClear 0; call xyratexDriveFaultLEDClear 8
Clear Fault LED on Drive [0]
W 63 07=7F
 = 0
Clear Fault LED on Drive [8]
W 63 06=27
 = 0
> call xyratexDriveFaultLEDSet 12; call xyratexDriveFaultLEDClear -1
Set Fault LED on Drive [12]
Un-supported Drive Number = [12]
 = -1
Clear Fault LED on Drive [-1]
Un-supported Drive Number = [-1]
 = -1

== Presence inputs are low where a drive is
> use xyratex; set i2cConnected 1; reg 63 00 7E; reg 63 03 F7
> call xyratexIsDrivePresent 0; call xyratexIsDrivePresent 1; call xyratexIsDrivePresent 7; call xyratexIsDrivePresent 8; call xyratexIsDrivePresent 11
R 63 00=7E
Drive in Slot [0] is present.
 = 0
R 63 00=7E
Drive in Slot [1] is NOT present.
 = -1
R 63 00=7E
Drive in Slot [7] is present.
 = 0
R 63 03=F7
Drive in Slot [8] is NOT present.
 = -1
R 63 03=F7
Drive in Slot [11] is present.
 = 0
> call xyratexIsDrivePresent 12; call xyratexIsDrivePresent -1
 = -1
 = -1
> call xyratexDrivePresenceRead
R 63 00=7E
Drive in Slot [0] is present.
Drive in Slot [1] is NOT present.
Drive in Slot [2] is NOT present.
Drive in Slot [3] is NOT present.
Drive in Slot [4] is NOT present.
Drive in Slot [5] is NOT present.
Drive in Slot [6] is NOT present.
Drive in Slot [7] is present.
R 63 03=F7
Drive in Slot [8] is NOT present.
Drive in Slot [9] is NOT present.
Drive in Slot [10] is NOT present.
Drive in Slot [11] is present.
> hide log messages fields; cut 0x63; call xyratexIsDrivePresent 3
R 63 00 ENXIO
 = 1

== The alarm is set with the strobe and read bit by bit
> use xyratex; set i2cConnected 1; set vitesse.vsc055GPD[5] 0xAF
> call xyratexAlarmStateSet 0; call xyratexAlarmStateSet 1; call xyratexAlarmStateSet 2; call xyratexAlarmStateSet 3; call xyratexAlarmStateSet 4; call xyratexAlarmStateSet 5; call xyratexAlarmStateSet 6; call xyratexAlarmStateSet 7; call xyratexAlarmStateSet 8
Set the Alarm State to [IDEL_S0].
W 63 05=A8
W 63 05=A0
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0xA0 0x0 0x0
Set the Alarm State to [FAULT_S1].
W 63 05=A9
W 63 05=A1
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0xA1 0x0 0x0
Set the Alarm State to [REMIND_S2].
W 63 05=AA
W 63 05=A2
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0xA2 0x0 0x0
Set the Alarm State to [MUTE_S3].
W 63 05=AB
W 63 05=A3
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0xA3 0x0 0x0
Set the Alarm State to [CRITICAL_S4].
W 63 05=AC
W 63 05=A4
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0xA4 0x0 0x0
Set the Alarm State to [INVALID_S5].
W 63 05=AD
W 63 05=A5
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0xA5 0x0 0x0
Set the Alarm State to [INVALID_S6].
W 63 05=AE
W 63 05=A6
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0xA6 0x0 0x0
Set the Alarm State to [INVALID_S7].
W 63 05=AF
W 63 05=A7
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0xA7 0x0 0x0
Set the Alarm State to un-supported value [8].
> hide fields; set vitesse.vsc055GPD[5] 0x5D; next 63 05 10 00 00; call xyratexAlarmStateRead
W 63 05=58
R 63 05=10
W 63 05=59
R 63 05=00
W 63 05=5A
R 63 05=00
Read the Alarm State as [FAULT_S1].
 = 1
> hide bus; call xyratexAlarmStateRead
Read the Alarm State as [IDEL_S0].
 = 0
> next 63 05 00 10 00; call xyratexAlarmStateRead
Read the Alarm State as [REMIND_S2].
 = 2
> next 63 05 10 10 EF; call xyratexAlarmStateRead
Read the Alarm State as [MUTE_S3].
 = 3
> next 63 05 00 00 10; call xyratexAlarmStateRead
Read the Alarm State as [CRITICAL_S4].
 = 4
> next 63 05 10 00 10; call xyratexAlarmStateRead
Read the Alarm State as [INVALID_S5].
 = 5
> next 63 05 00 10 10; call xyratexAlarmStateRead
Read the Alarm State as [INVALID_S6].
 = 6
> next 63 05 10 10 10; call xyratexAlarmStateRead
Read the Alarm State as [INVALID_S7].
 = 7
# All steps run; a failed one contributes seven.
> sweep use xyratex, set i2cConnected 1 | call xyratexAlarmStateRead
1: W 63 05 ENXIO goes on = 0
2: R 63 05 ENXIO goes on = 7
3: W 63 05 ENXIO goes on = 0
4: R 63 05 ENXIO goes on = 7
5: W 63 05 ENXIO goes on = 0
6: R 63 05 ENXIO ends it = 7

== A poll in words
> up xyratex; hide bus fields
> call poll
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
The Fault bit [0x1] is already clear.
Return Power Redundancy Fail Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Read the Alarm State as [IDEL_S0].
Fan [0] has Vitesse Fan Speed value = [240].
Fan [0] has speed [5000] RPM.
Already marked OK on Fan [0].
Fan [1] has Vitesse Fan Speed value = [240].
Fan [1] has speed [5000] RPM.
Already marked OK on Fan [1].
Fan [2] has Vitesse Fan Speed value = [240].
Fan [2] has speed [5000] RPM.
Already marked OK on Fan [2].
Fan [3] has Vitesse Fan Speed value = [240].
Fan [3] has speed [5000] RPM.
Already marked OK on Fan [3].
Fan [4] has Vitesse Fan Speed value = [240].
Fan [4] has speed [5000] RPM.
Already marked OK on Fan [4].
Fan [5] has Vitesse Fan Speed value = [240].
Fan [5] has speed [5000] RPM.
Already marked OK on Fan [5].
Fan [6] has Vitesse Fan Speed value = [240].
Fan [6] has speed [5000] RPM.
Already marked OK on Fan [6].
Fan [7] has Vitesse Fan Speed value = [240].
Fan [7] has speed [5000] RPM.
Already marked OK on Fan [7].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
FAN Fail LED already [OFF].
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_LHS] = [25] degrees Celsius.
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_RHS] = [26] degrees Celsius.
temperatureSensorAverage = [25] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as [IDEL_S0].

== A poll reports where the alarm has gone
> up xyratex; hide bus log fields
> next 63 05 10 00 00 10 00 00; call poll
event   alarm status: warning, alarms 1, state fault
> next 63 05 10 10 00 10 10 00; call poll
event   alarm status: information, alarms 1, state mute
> next 63 05 10 10 00 10 10 00; call poll
> next 63 05 00 00 10 00 00 10; call poll
event   alarm status: warning, alarms 1, state critical
> next 63 05 10 00 10 10 00 10; call poll
event   alarm status: information, alarms 1, state 5
> call poll
event   alarm status: information, alarms 1, state idle

== The reminder of a fault that is over is ended, by polls and by pages
> up xyratex; hide log fields messages; show messages
> set alarmState 2; next 63 05 00 10 00; call poll
R 63 04=FC
R 63 04=FC
W 63 05=00
R 63 05=00
W 63 05=01
R 63 05=10
W 63 05=02
R 63 05=00
W 63 05=08
W 63 05=00
R 63 32=F0
R 63 36=F0
R 63 3A=F0
R 63 3E=F0
R 63 42=F0
R 63 46=F0
R 63 4A=F0
R 63 4E=F0
R 4C 00=19
R 4C 00=19
R 4D 00=1A
R 4D 00=1A
W 63 05=00
R 63 05=00
W 63 05=01
R 63 05=01
W 63 05=02
R 63 05=02
event   alarm status: information, alarms 1, state idle
# Nothing new to say.
> set alarmState 0; next 63 05 00 10 00; call poll
R 63 04=FC
R 63 04=FC
W 63 05=00
R 63 05=00
W 63 05=01
R 63 05=10
W 63 05=02
R 63 05=00
W 63 05=08
W 63 05=00
R 63 32=F0
R 63 36=F0
R 63 3A=F0
R 63 3E=F0
R 63 42=F0
R 63 46=F0
R 63 4A=F0
R 63 4E=F0
R 4C 00=19
R 4C 00=19
R 4D 00=1A
R 4D 00=1A
W 63 05=00
R 63 05=00
W 63 05=01
R 63 05=01
W 63 05=02
R 63 05=02
> hide bus; set alarmState 1; next 63 05 00 10 00; page
event   alarm status: information, alarms 1, state idle
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
# Where redundancy comes back just now, the alarm is left alone until the next look.
> show bus; set powerSupplyStatus 1; set alarmState 2; next 63 05 00 10 00; call poll
R 63 04=FC
R 63 04=FC
W 63 06=2F
R 63 32=F0
R 63 36=F0
R 63 3A=F0
R 63 3E=F0
R 63 42=F0
R 63 46=F0
R 63 4A=F0
R 63 4E=F0
R 4C 00=19
R 4C 00=19
R 4D 00=1A
R 4D 00=1A
W 63 05=00
R 63 05=00
W 63 05=01
R 63 05=10
W 63 05=02
R 63 05=00
event   power supply status: information, supplies 2, status 0x03 (voltage good, redundancy good)

== Lost supplies in words, by polls and by pages
> up xyratex; hide bus fields messages; set coolingMaxNumber 0; set deviceMaxNumber 0
> reg 63 04 CF; call poll
Return Power Voltage Status [ERROR].
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
Set the new Fault bit [0x1].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
Turn [OFF] PSU_OK LED.
Return Power Redundancy Fail Status [ERROR].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
Set the new Fault bit [0x2].
The Composite Fault LED is currently ON for other Faults.
Send Email Notification MMSG To Startup.
Turn [ON] Power Redundancy Fail LED.
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
FAN Fail LED already [OFF].
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_LHS] = [25] degrees Celsius.
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_RHS] = [26] degrees Celsius.
temperatureSensorAverage = [25] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as [IDEL_S0].
> call poll
Return Power Voltage Status [ERROR].
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
The Fault bit [0x1] is already set.
Return Power Redundancy Fail Status [ERROR].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] exists currently.
The Fault bit [0x2] is already set.
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
FAN Fail LED already [OFF].
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_LHS] = [25] degrees Celsius.
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_RHS] = [26] degrees Celsius.
temperatureSensorAverage = [25] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as [IDEL_S0].
> page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Return Power Redundancy Fail Status [ERROR].
Power Redundancy Fail LED already [ON].
Return Power Voltage Status [ERROR].
PSU OK LED already [OFF].
Return Power Redundancy Fail Status [ERROR].
Power Redundancy Fail LED already [ON].
Return Power Voltage Status [ERROR].
PSU OK LED already [OFF].
Read the Alarm State as [IDEL_S0].
Send out a Diagnostic Page.
> reg 63 04 30; call poll
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
Clear the current Fault bit [0x1].
Turn [ON] PSU_OK LED.
Return Power Redundancy Fail Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] exists currently.
Clear the current Fault bit [0x2].
[Clear] Composite Fault LED in Startup.
Turn [OFF] Power Redundancy Fail LED.
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
FAN Fail LED already [OFF].
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_LHS] = [25] degrees Celsius.
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_RHS] = [26] degrees Celsius.
temperatureSensorAverage = [25] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as [IDEL_S0].
> reg 63 04 CF; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Return Power Redundancy Fail Status [ERROR].
Turn [ON] Power Redundancy Fail LED.
Return Power Voltage Status [ERROR].
Turn [OFF] PSU_OK LED.
Return Power Redundancy Fail Status [ERROR].
Power Redundancy Fail LED already [ON].
Return Power Voltage Status [ERROR].
PSU OK LED already [OFF].
Read the Alarm State as [IDEL_S0].
Send out a Diagnostic Page.
> reg 63 04 30; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Return Power Redundancy Fail Status [OK].
Turn [OFF] Power Redundancy Fail LED.
Turn [ON] PSU_OK LED.
Return Power Redundancy Fail Status [OK].
Power Redundancy Fail LED already [OFF].
Read the Alarm State as [IDEL_S0].
PSU OK LED already [ON].
Read the Alarm State as [IDEL_S0].
Send out a Diagnostic Page.

== The fan LED follows the poll, the routine's line first
> up xyratex; set coolingMaxNumber 1; hide fields; hide messages
> reg 63 32 FF; call poll
R 63 04=FC
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
The Fault bit [0x1] is already clear.
R 63 04=FC
Return Power Redundancy Fail Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
W 63 05=00
R 63 05=00
W 63 05=01
R 63 05=01
W 63 05=02
R 63 05=02
Read the Alarm State as [IDEL_S0].
R 63 32=FF
Fan [0] has Vitesse Fan Speed value = [255].
No tachometer pulses present, NOT able to read speed for Fan [0].
Return read error for Fan [0].
Fan [0] has speed [0] RPM.
Return Fans Status [ERROR].
Now marking Fault on Fan [0].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
Set the new Fault bit [0x4].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
Turn [ON] FAN_FAIL LED.
W 63 06=AF
Turn [ON] FAN Fail LED.
R 4C 00=19
R 4C 00=19
R 4D 00=1A
R 4D 00=1A
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_LHS] = [25] degrees Celsius.
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_RHS] = [26] degrees Celsius.
At least 1 Fan Fault, FanFaultStatus = [0x1]
Fan [0] sets to 100 percent PWM Load
Load PWM [100] Percent to Fan [0]
W 63 98=3F
At least 1 Fan Fault, FanFaultStatus = [0x1]
Fan [1] sets to 100 percent PWM Load
Load PWM [100] Percent to Fan [1]
W 63 99=3F
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
W 63 05=00
R 63 05=00
W 63 05=01
R 63 05=01
W 63 05=02
R 63 05=02
Read the Alarm State as [IDEL_S0].
> hide bus; call poll
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
The Fault bit [0x1] is already clear.
Return Power Redundancy Fail Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Read the Alarm State as [IDEL_S0].
Fan [0] has Vitesse Fan Speed value = [255].
No tachometer pulses present, NOT able to read speed for Fan [0].
Return read error for Fan [0].
Fan [0] has speed [0] RPM.
Return Fans Status [ERROR].
Already marked Fault on Fan [0].
This Fault bit is [FAN]
This Fault bit [0x4] exists currently.
The Fault bit [0x4] is already set.
FAN Fail LED already [ON].
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_LHS] = [25] degrees Celsius.
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_RHS] = [26] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as [IDEL_S0].
> reg 63 32 F0; call poll
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
The Fault bit [0x1] is already clear.
Return Power Redundancy Fail Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Read the Alarm State as [IDEL_S0].
Fan [0] has Vitesse Fan Speed value = [240].
Fan [0] has speed [5000] RPM.
Now marking OK on Fan [0].
This Fault bit is [FAN]
This Fault bit [0x4] exists currently.
Clear the current Fault bit [0x4].
[Clear] Composite Fault LED in Startup.
Turn [OFF] FAN_FAIL LED.
Turn [OFF] FAN Fail LED.
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_LHS] = [25] degrees Celsius.
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_RHS] = [26] degrees Celsius.
temperatureSensorAverage = [25] degrees Celsius.
Load PWM [75] Percent to Fan [0]
Temperature = [25], Fan [0] set to 75 percent PWM
Load PWM [75] Percent to Fan [1]
Temperature = [25], Fan [1] set to 75 percent PWM
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as [IDEL_S0].
> call poll
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
The Fault bit [0x1] is already clear.
Return Power Redundancy Fail Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Read the Alarm State as [IDEL_S0].
Fan [0] has Vitesse Fan Speed value = [240].
Fan [0] has speed [5000] RPM.
Already marked OK on Fan [0].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
FAN Fail LED already [OFF].
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_LHS] = [25] degrees Celsius.
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_RHS] = [26] degrees Celsius.
temperatureSensorAverage = [25] degrees Celsius.
Load PWM [50] Percent to Fan [0]
Temperature = [25], Fan [0] set to 50 percent PWM
Load PWM [50] Percent to Fan [1]
Temperature = [25], Fan [1] set to 50 percent PWM
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as [IDEL_S0].

== A page marks fans from 500 RPM down
> up xyratex; set powerSupplyMaxNumber 0; set deviceMaxNumber 0; set coolingMaxNumber 1; hide bus fields
# 1200000 / (189 x 12) = 529, / (200 x 12) = 500 and / (199 x 12) = 502 RPM.
> set fanSpeedDivisor 12; reg 63 32 BD; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Fan [0] has Vitesse Fan Speed value = [189].
Fan [0] has RPM [529] divided by a factor of 10.
Already marked OK on Fan [0].
FAN Fail LED already [OFF].
Read the Alarm State as [IDEL_S0].
Send out a Diagnostic Page.
reply   to environment manager: GOOD, enclosure status page, 108 bytes, handle 0
> reg 63 32 C8; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Fan [0] has Vitesse Fan Speed value = [200].
Fan [0] has RPM [500] divided by a factor of 10.
Now marking Fault on Fan [0].
Turn [ON] FAN_FAIL LED.
Turn [ON] FAN Fail LED.
Read the Alarm State as [IDEL_S0].
Send out a Diagnostic Page.
event   fan fault status: warning, fans 1, failed 0x01 (fan 0)
reply   to environment manager: GOOD, enclosure status page, 108 bytes, handle 0
> page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Fan [0] has Vitesse Fan Speed value = [200].
Fan [0] has RPM [500] divided by a factor of 10.
Already marked Fault on Fan [0].
FAN Fail LED already [ON].
Read the Alarm State as [IDEL_S0].
Send out a Diagnostic Page.
reply   to environment manager: GOOD, enclosure status page, 108 bytes, handle 0
> reg 63 32 C7; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Fan [0] has Vitesse Fan Speed value = [199].
Fan [0] has RPM [502] divided by a factor of 10.
Now marking OK on Fan [0].
Turn [OFF] FAN_FAIL LED.
Turn [OFF] FAN Fail LED.
Read the Alarm State as [IDEL_S0].
Send out a Diagnostic Page.
event   fan fault status: warning, fans 1, failed 0x00 (none)
reply   to environment manager: GOOD, enclosure status page, 108 bytes, handle 0

== An unreadable sensor is said with the configured address
> up xyratex; set coolingMaxNumber 0; set i2cAddressLM75 0x11 0x12; hide bus fields messages; cut 0x4D; call poll
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
The Fault bit [0x1] is already clear.
Return Power Redundancy Fail Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Read the Alarm State as [IDEL_S0].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
FAN Fail LED already [OFF].
Detect I2C Bus Status [ERROR] with Address [0x4d].
Now marking Fault on I2C Device with Address [0x4d].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_LHS] = [25] degrees Celsius.
Read I2C fails with LM75 Address [0x12]. I2C cable is not connected or wrong enclosure type.
temperatureSensor[ESA_K_TEMPERATURE_SENSOR_RHS] = [32767] degrees Celsius.
temperatureSensorAverage = [25] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as [IDEL_S0].
