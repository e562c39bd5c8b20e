# Single operations of the VSC055 controller and of the LM75 sensor.

== Loads are duty codes; no load takes the fan's power, and no other gives it back
> use vsc055; set i2cConnected 1; set vitesse.vsc055GPD 0 255; call esaVsc055FanPwmLoad 0 25; call esaVsc055FanPwmLoad 1 50; call esaVsc055FanPwmLoad 2 75; call esaVsc055FanPwmLoad 7 100
Load PWM [25] Percent to Fan [0]
W 41 98=27
vitesse.vsc055PWMC 0x27 0x0 0x0 0x0 0x0 0x0 0x0 0x0
Load PWM [50] Percent to Fan [1]
W 41 99=2F
vitesse.vsc055PWMC 0x27 0x2F 0x0 0x0 0x0 0x0 0x0 0x0
Load PWM [75] Percent to Fan [2]
W 41 9A=37
vitesse.vsc055PWMC 0x27 0x2F 0x37 0x0 0x0 0x0 0x0 0x0
Load PWM [100] Percent to Fan [7]
W 41 9F=3F
vitesse.vsc055PWMC 0x27 0x2F 0x37 0x0 0x0 0x0 0x0 0x3F
> call esaVsc055FanPwmLoad 2 0; call esaVsc055FanPwmLoad 2 100; call esaVsc055FanPwmLoad 7 0
Load PWM [0] Percent to Fan [2]
W 41 9A=00
W 41 01=FB
vitesse.vsc055GPD 0x0 0xFB 0x0 0x0 0x0 0x0 0x0 0x0
vitesse.vsc055PWMC 0x27 0x2F 0x0 0x0 0x0 0x0 0x0 0x3F
Load PWM [100] Percent to Fan [2]
W 41 9A=3F
vitesse.vsc055PWMC 0x27 0x2F 0x3F 0x0 0x0 0x0 0x0 0x3F
Load PWM [0] Percent to Fan [7]
W 41 9F=00
W 41 01=7B
vitesse.vsc055GPD 0x0 0x7B 0x0 0x0 0x0 0x0 0x0 0x0
vitesse.vsc055PWMC 0x27 0x2F 0x3F 0x0 0x0 0x0 0x0 0x0
> call esaVsc055FanPwmLoad 2 60; call esaVsc055FanPwmLoad 8 50; call esaVsc055FanPwmLoad 255 0
Load PWM [60] Percent to Fan [2]
Un-supported PWM Percentage [60]
Load PWM [50] Percent to Fan [8]
Un-supported Fan Number = [8]
Load PWM [0] Percent to Fan [255]
Un-supported Fan Number = [255]

== A speed is the clock by count and divisor
> use vsc055; set i2cConnected 1; call esaVsc055FanSpeedRead 1
R 41 36=78
Fan [1] has Vitesse Fan Speed value = [120].
 = 0, 5000
> set fanSpeedDivisor 4; reg 41 36 FE; call esaVsc055FanSpeedRead 1
R 41 36=FE
Fan [1] has Vitesse Fan Speed value = [254].
 = 0, 1181
# 600000 cut to 16 bits.
> set fanSpeedDivisor 2; reg 41 36 01; call esaVsc055FanSpeedRead 1
R 41 36=01
Fan [1] has Vitesse Fan Speed value = [1].
 = 0, 10176
> reg 41 36 00; call esaVsc055FanSpeedRead 1
R 41 36=00
Fan [1] has Vitesse Fan Speed value = [0].
Fan [1] has speed [0].
 = 0, 0
> reg 41 36 78; set fanSpeedDivisor 0; call esaVsc055FanSpeedRead 1
R 41 36=78
Fan [1] has Vitesse Fan Speed value = [120].
Fan [1] has count [120] and divisor [0], taken as [0] RPM.
 = 0, 0
> reg 41 36 FF; call esaVsc055FanSpeedRead 1
R 41 36=FF
Fan [1] has Vitesse Fan Speed value = [255].
No tachometer pulses present, NOT able to read speed for Fan [1].
Return read error for Fan [1].
 = -1, 4711
> call esaVsc055FanSpeedRead -1; call esaVsc055FanSpeedRead 8; call esaVsc055FanSpeedRead 254
Un-supported Fan Number = [-1]
 = -1, 4711
Un-supported Fan Number = [8]
 = -1, 4711
Un-supported Fan Number = [254]
 = -1, 4711
> hide messages; cut 0x41; call esaVsc055FanSpeedRead 1
R 41 36 ENXIO
Detect I2C Bus Status [ERROR] with Address [0x41].
Now marking Fault on I2C Device with Address [0x41].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
 = 1, 4711
i2cDeviceFaultStatus 0x1
compositeFaultStatus 0x80000010

== Drive fault LEDs are active low bits of two ports
> use vsc055; set i2cConnected 1; set deviceMaxNumber 12; set vitesse.vsc055GPD[6] 255 255
> call esaVsc055DriveFaultLEDSet 0; call esaVsc055DriveFaultLEDSet 7; call esaVsc055DriveFaultLEDSet 9; call esaVsc055DriveFaultLEDSet 11
Set Fault LED on Drive [0]
vsc055GPD[6] = [0xfe]
W 41 06=FE
 = 0
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0x0 0xFE 0xFF
Set Fault LED on Drive [7]
vsc055GPD[6] = [0x7e]
W 41 06=7E
 = 0
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0x0 0x7E 0xFF
Set Fault LED on Drive [9]
vsc055GPD[7] = [0xfd]
W 41 07=FD
 = 0
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0x0 0x7E 0xFD
Set Fault LED on Drive [11]
vsc055GPD[7] = [0xf5]
W 41 07=F5
 = 0
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0x0 0x7E 0xF5
> call esaVsc055DriveFaultLEDClear 0; call esaVsc055DriveFaultLEDClear 9
Clear Fault LED on Drive [0]
vsc055GPD[6] = [0x7f]
W 41 06=7F
 = 0
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0x0 0x7F 0xF5
Clear Fault LED on Drive [9]
vsc055GPD[7] = [0xf7]
W 41 07=F7
 = 0
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0x0 0x7F 0xF7
> call esaVsc055DriveFaultLEDSet 12; call esaVsc055DriveFaultLEDClear -1
Set Fault LED on Drive [12]
Un-supported Drive Number = [12]
 = -1
Clear Fault LED on Drive [-1]
Un-supported Drive Number = [-1]
 = -1
# The first port does not depend on the number of drives, the second ends with it.
> set deviceMaxNumber 4; hide log fields; call esaVsc055DriveFaultLEDSet 7; call esaVsc055DriveFaultLEDSet 8
W 41 06=7F
 = 0
 = -1
> set deviceMaxNumber 255; call esaVsc055DriveFaultLEDSet 15; call esaVsc055DriveFaultLEDSet 16
W 41 07=77
 = 0
 = -1

== Alarm states have their names; reading takes the low byte
> use vsc055; set i2cConnected 1; hide fields
> set alarmState 0; call esaVsc055AlarmStateBackplaneSet 0; call esaVsc055AlarmStateRead
Set Backplane Alarm State to [IDEL_S0].
Read the Alarm State as [IDEL_S0].
 = 0
> set alarmState 1; call esaVsc055AlarmStateBackplaneSet 1; call esaVsc055AlarmStateRead
Set Backplane Alarm State to [FAULT_S1].
Read the Alarm State as [FAULT_S1].
 = 1
> set alarmState 2; call esaVsc055AlarmStateBackplaneSet 2; call esaVsc055AlarmStateRead
Set Backplane Alarm State to [REMIND_S2].
Read the Alarm State as [REMIND_S2].
 = 2
> set alarmState 3; call esaVsc055AlarmStateBackplaneSet 3; call esaVsc055AlarmStateRead
Set Backplane Alarm State to [MUTE_S3].
Read the Alarm State as [MUTE_S3].
 = 3
> set alarmState 4; call esaVsc055AlarmStateBackplaneSet 4; call esaVsc055AlarmStateRead
Set Backplane Alarm State to [CRITICAL_S4].
Read the Alarm State as [CRITICAL_S4].
 = 4
> set alarmState 5; call esaVsc055AlarmStateBackplaneSet 5; call esaVsc055AlarmStateRead
Set Backplane Alarm State to [STATE_S5].
Read the Alarm State as [INVALID_S5].
 = 5
> set alarmState 6; call esaVsc055AlarmStateBackplaneSet 6; call esaVsc055AlarmStateRead
Set Backplane Alarm State to [STATE_S6].
Read the Alarm State as [INVALID_S6].
 = 6
> set alarmState 7; call esaVsc055AlarmStateBackplaneSet 7; call esaVsc055AlarmStateRead
Set Backplane Alarm State to [STATE_S7].
Read the Alarm State as [INVALID_S7].
 = 7
> set alarmState 8; call esaVsc055AlarmStateBackplaneSet 8; call esaVsc055AlarmStateRead
Set Backplane Alarm State to un-supported value [8].
Read the Alarm State as un-supported value [8].
 = 8
> set alarmState 257; call esaVsc055AlarmStateBackplaneSet 257; call esaVsc055AlarmStateRead
Set Backplane Alarm State to un-supported value [257].
Read the Alarm State as [FAULT_S1].
 = 1

== A poll says each state in words of its own, an unknown one after a second look
> up vsc055; hide bus fields messages
> call poll
Return Power Fail Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Power Redundancy Status already [OK].
Fan [0] has Vitesse Fan Speed value = [120].
Fan [0] has speed [5000] RPM.
Already marked OK on Fan [0].
Fan [1] has Vitesse Fan Speed value = [120].
Fan [1] has speed [5000] RPM.
Already marked OK on Fan [1].
Fan [2] has Vitesse Fan Speed value = [120].
Fan [2] has speed [5000] RPM.
Already marked OK on Fan [2].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
temperatureSensor[0] = [25] degrees Celsius.
temperatureSensor[1] = [25] degrees Celsius.
temperatureSensorAverage = [25] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as [MUTE_S3].
Alarm State is set to [MUTE_S3].
> hide log; set alarmState 0; call poll
> show log; set temperatureSensorMaxNumber 0; set coolingMaxNumber 0; call poll
Return Power Fail Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Power Redundancy Status already [OK].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
No readable temperature sensor, temperatureSensorAverage stays [25].
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as [IDEL_S0].
Alarm State is set to [IDEL_S0].
> set alarmState 5; call poll
Return Power Fail Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Power Redundancy Status already [OK].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
No readable temperature sensor, temperatureSensorAverage stays [25].
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as [INVALID_S5].
Alarm State is set to [STATE_S5].
> set alarmState 9; call poll
Return Power Fail Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Power Redundancy Status already [OK].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
No readable temperature sensor, temperatureSensorAverage stays [25].
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Read the Alarm State as un-supported value [9].
Read the Alarm State as un-supported value [9].
Alarm State is set to un-supported value [9].

== Polls and pages stay inside the arrays
> up vsc055; set coolingMaxNumber 255; set temperatureSensorMaxNumber 255; set fanFaultRpmLimit 0; hide log fields messages; call poll
R 41 04=D0
R 41 32=78
R 41 36=78
R 41 3A=78
R 41 3E=00
R 41 42=00
R 41 46=00
R 41 4A=00
R 41 4E=00
R 4C 00=19
R 4C 00=19
R 4B 00=19
R 4B 00=19
R 4A 00 ENXIO
R 4D 00 ENXIO
R 4E 00 ENXIO
R 4F 00 ENXIO
R 00 00 ENXIO
R 00 00 ENXIO

== An LM75 gives the degrees with the second read and the half with the first
> use vsc055; set i2cConnected 1; hide log bus
> next 4C 00 00 7D; call lm75TemperatureRead 0x4C
 = 125
> next 4C 00 80 19; call lm75TemperatureRead 0x4C
 = 25
> next 4C 00 7F 19; call lm75TemperatureRead 0x4C
 = 25
> next 4C 00 80 00; call lm75TemperatureRead 0x4C
 = 0
> next 4C 00 80 FF; call lm75TemperatureRead 0x4C
 = 0
> next 4C 00 00 FF; call lm75TemperatureRead 0x4C
 = -1
> next 4C 00 80 FE; call lm75TemperatureRead 0x4C
 = -1
> next 4C 00 00 E7; call lm75TemperatureRead 0x4C
 = -25
> next 4C 00 80 E7; call lm75TemperatureRead 0x4C
 = -24
> next 4C 00 00 80; call lm75TemperatureRead 0x4C
 = -128
> sweep use vsc055, set i2cConnected 1 | call lm75TemperatureRead 0x4C
1: R 4C 00 ENXIO ends it = 32767

== Redundancy is one bit of the port, whatever the others are
> up vsc055; hide log bus fields; reg 41 04 7F; call poll
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x01 (voltage good, redundancy lost)
> reg 41 04 80; call poll
led     composite fault LED off
event   power supply status: information, supplies 2, status 0x03 (voltage good, redundancy good)
