# Faults, fans and temperatures, apart from the chips.

== Faults that come and go: LED, mail, alarm
> link 5; set i2cConnected 1
> set alarmState 3; call esaCompositeFaultManage 4 -1
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
Set the new Fault bit [0x4].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Set Backplane Alarm State to [FAULT_S1].
Send Email Notification MMSG To Startup.
led     composite fault LED on
mail    e-mail notification
alarmState 1
compositeFaultStatus 0x80000004
> call esaCompositeFaultManage 4 -1
This Fault bit is [FAN]
This Fault bit [0x4] exists currently.
The Fault bit [0x4] is already set.
> call esaCompositeFaultManage 4 0
This Fault bit is [FAN]
This Fault bit [0x4] exists currently.
Clear the current Fault bit [0x4].
[Clear] Composite Fault LED in Startup.
Set Backplane Alarm State to [MUTE_S3].
led     composite fault LED off
alarmState 3
compositeFaultStatus 0x0
> set alarmState 0; call esaCompositeFaultManage 1 -1
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
Set the new Fault bit [0x1].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
led     composite fault LED on
mail    e-mail notification
compositeFaultStatus 0x80000001
> set alarmState 3; call esaCompositeFaultManage 8 -1
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
Set the new Fault bit [0x8].
The Composite Fault LED is currently ON for other Faults.
Send Email Notification MMSG To Startup.
mail    e-mail notification
compositeFaultStatus 0x80000009
> call esaCompositeFaultManage 1 0
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
Clear the current Fault bit [0x1].
compositeFaultStatus 0x80000008
> set alarmState 0; call esaCompositeFaultManage 8 0
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] exists currently.
Clear the current Fault bit [0x8].
[Clear] Composite Fault LED in Startup.
Set Backplane Alarm State to [MUTE_S3].
led     composite fault LED off
alarmState 3
compositeFaultStatus 0x0
> call esaCompositeFaultManage 2 -1
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
Set the new Fault bit [0x2].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Set Backplane Alarm State to [FAULT_S1].
Send Email Notification MMSG To Startup.
led     composite fault LED on
mail    e-mail notification
alarmState 1
compositeFaultStatus 0x80000002
> set alarmState 3; call esaCompositeFaultManage 2 0
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] exists currently.
Clear the current Fault bit [0x2].
[Clear] Composite Fault LED in Startup.
led     composite fault LED off
compositeFaultStatus 0x0
> call esaCompositeFaultManage 2 0
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
# An unreachable bus records no new fault, and counts as still present for a recorded one.
> call esaCompositeFaultManage 16 1
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
The Fault bit [0x10] is already clear.
> call esaCompositeFaultManage 16 -1
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Set Backplane Alarm State to [FAULT_S1].
Send Email Notification MMSG To Startup.
led     composite fault LED on
mail    e-mail notification
alarmState 1
compositeFaultStatus 0x80000010
> call esaCompositeFaultManage 16 1
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] exists currently.
The Fault bit [0x10] is already set.
> call esaCompositeFaultManage 16 0
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] exists currently.
Clear the current Fault bit [0x10].
[Clear] Composite Fault LED in Startup.
Set Backplane Alarm State to [MUTE_S3].
led     composite fault LED off
alarmState 3
compositeFaultStatus 0x0
# Two at once go together, under the name of the lower one; no fault has no name.
> call esaCompositeFaultManage 12 -1
This Fault bit is [FAN]
This Fault bit [0xc] does NOT exist currently.
Set the new Fault bit [0xc].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Set Backplane Alarm State to [FAULT_S1].
Send Email Notification MMSG To Startup.
led     composite fault LED on
mail    e-mail notification
alarmState 1
compositeFaultStatus 0x8000000C
> call esaCompositeFaultManage 4 0
This Fault bit is [FAN]
This Fault bit [0x4] exists currently.
Clear the current Fault bit [0x4].
compositeFaultStatus 0x80000008
> call esaCompositeFaultManage 12 0
This Fault bit is [FAN]
This Fault bit [0xc] exists currently.
Clear the current Fault bit [0xc].
[Clear] Composite Fault LED in Startup.
Set Backplane Alarm State to [MUTE_S3].
led     composite fault LED off
alarmState 3
compositeFaultStatus 0x0
> call esaCompositeFaultManage 32 0
This Fault bit [0x20] does NOT exist currently.
The Fault bit [0x20] is already clear.

== The alarm stays where the chassis does not set it
> link 2; set i2cConnected 1; hide log; set alarmState 3; call esaCompositeFaultManage 4 -1
led     composite fault LED on
mail    e-mail notification
compositeFaultStatus 0x80000004
> set alarmState 1; call esaCompositeFaultManage 4 0
led     composite fault LED off
compositeFaultStatus 0x0
> link 255; set alarmState 3; call esaCompositeFaultManage 4 -1
led     composite fault LED on
mail    e-mail notification
compositeFaultStatus 0x80000004

== A failed fan is reported once, and once when it comes back
# 1200000 / (600 x 2) = 1000 RPM is good, / (601 x 2) = 998 is not.
> use vsc055; set i2cConnected 1; set fanSpeedDivisor 5; hide bus; reg 41 3A F0; call esaFanFailStatusRead
Fan [0] has Vitesse Fan Speed value = [120].
Fan [0] has speed [2000] RPM.
Already marked OK on Fan [0].
Fan [1] has Vitesse Fan Speed value = [120].
Fan [1] has speed [2000] RPM.
Already marked OK on Fan [1].
Fan [2] has Vitesse Fan Speed value = [240].
Fan [2] has speed [1000] RPM.
Already marked OK on Fan [2].
 = 0
fanRpmSpeed 2000 2000 1000 0 0 0 0 0
> reg 41 3A F1; call esaFanFailStatusRead
Fan [0] has Vitesse Fan Speed value = [120].
Fan [0] has speed [2000] RPM.
Already marked OK on Fan [0].
Fan [1] has Vitesse Fan Speed value = [120].
Fan [1] has speed [2000] RPM.
Already marked OK on Fan [1].
Fan [2] has Vitesse Fan Speed value = [241].
Fan [2] has speed [995] RPM.
Return Fans Status [ERROR].
Now marking Fault on Fan [2].
event   fan fault status: warning, fans 3, failed 0x04 (fan 2)
 = -1
fanFaultStatus 0x4
fanRpmSpeed 2000 2000 995 0 0 0 0 0
> call esaFanFailStatusRead
Fan [0] has Vitesse Fan Speed value = [120].
Fan [0] has speed [2000] RPM.
Already marked OK on Fan [0].
Fan [1] has Vitesse Fan Speed value = [120].
Fan [1] has speed [2000] RPM.
Already marked OK on Fan [1].
Fan [2] has Vitesse Fan Speed value = [241].
Fan [2] has speed [995] RPM.
Return Fans Status [ERROR].
Already marked Fault on Fan [2].
 = -1
> reg 41 3A F0; call esaFanFailStatusRead
Fan [0] has Vitesse Fan Speed value = [120].
Fan [0] has speed [2000] RPM.
Already marked OK on Fan [0].
Fan [1] has Vitesse Fan Speed value = [120].
Fan [1] has speed [2000] RPM.
Already marked OK on Fan [1].
Fan [2] has Vitesse Fan Speed value = [240].
Fan [2] has speed [1000] RPM.
Now marking OK on Fan [2].
event   fan fault status: warning, fans 3, failed 0x00 (none)
 = 0
fanFaultStatus 0x0
fanRpmSpeed 2000 2000 1000 0 0 0 0 0
# Changes of one sweep make one event; the last fans have nothing new to say.
> hide log; reg 41 32 FE; reg 41 36 FF; call esaFanFailStatusRead
event   fan fault status: warning, fans 3, failed 0x03 (fans 0, 1)
 = -1
fanFaultStatus 0x3
fanRpmSpeed 944 0 1000 0 0 0 0 0
> reg 41 32 78; call esaFanFailStatusRead
event   fan fault status: warning, fans 3, failed 0x02 (fan 1)
 = -1
fanFaultStatus 0x2
fanRpmSpeed 2000 0 1000 0 0 0 0 0

== An unreachable bus ends the sweep of a VSC055 without an event
> use vsc055; set i2cConnected 1; set fanRpmSpeed 1 2 3; hide log; reg 41 32 FE; set fanSpeedDivisor 5; fail 2; call esaFanFailStatusRead
R 41 32=FE
R 41 36 ENXIO
led     composite fault LED on
mail    e-mail notification
event   device VSC055: warning, enclosure VSC055, does not answer
 = 1
i2cDeviceFaultStatus 0x1
fanFaultStatus 0x1
fanRpmSpeed 944 2 3 0 0 0 0 0
compositeFaultStatus 0x80000010

== Fans above the arrays are neither read nor failed; no fans are no fault; no reader is an error
> use vsc055; set i2cConnected 1; hide log; set coolingMaxNumber 44; set fanFaultRpmLimit 0; call esaFanFailStatusRead
R 41 32=78
R 41 36=78
R 41 3A=78
R 41 3E=00
R 41 42=00
R 41 46=00
R 41 4A=00
R 41 4E=00
 = 0
fanRpmSpeed 5000 5000 5000 0 0 0 0 0
> set coolingMaxNumber 0; call esaFanFailStatusRead
 = 0
> link 1; set coolingMaxNumber 1; call esaFanFailStatusRead
 = -1
> link 0; set coolingMaxNumber 1; call esaFanFailStatusRead
 = -1

== The ladder moves one step or stays
> use vsc055; set i2cConnected 1; set coolingMaxNumber 1; set temperatureSensorMaxNumber 1; hide bus log
> set fanPwmLoad 25; set temperatureSensor 30; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage 30
> show log bus; set temperatureSensor 31; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [31] degrees Celsius.
Load PWM [50] Percent to Fan [0]
W 41 98=2F
Temperature = [31], Fan [0] set to 50 percent PWM
fanPwmLoad 50 0 0 0 0 0 0 0
temperatureSensorAverage 31
vitesse.vsc055PWMC 0x2F 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> set temperatureSensor 40; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [40] degrees Celsius.
temperatureSensorAverage 40
> set temperatureSensor 41; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [41] degrees Celsius.
Load PWM [75] Percent to Fan [0]
W 41 98=37
Temperature = [41], Fan [0] set to 75 percent PWM
fanPwmLoad 75 0 0 0 0 0 0 0
temperatureSensorAverage 41
vitesse.vsc055PWMC 0x37 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> set temperatureSensor 50; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [50] degrees Celsius.
temperatureSensorAverage 50
> set temperatureSensor 90; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [90] degrees Celsius.
Load PWM [100] Percent to Fan [0]
W 41 98=3F
Temperature = [90], Fan [0] set to 100 percent PWM
fanPwmLoad 100 0 0 0 0 0 0 0
temperatureSensorAverage 90
vitesse.vsc055PWMC 0x3F 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> hide log bus; set temperatureSensor 90; call esaTemperatureFanPolicyFlexibleThreshold
> set temperatureSensor 45; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage 45
# The floor stops steps down below it and lifts no fan.
> set temperatureSensor 44; set fanPwmLoadMinimum 76; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage 44
> set fanPwmLoadMinimum 75; call esaTemperatureFanPolicyFlexibleThreshold
fanPwmLoad 75 0 0 0 0 0 0 0
vitesse.vsc055PWMC 0x37 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> set temperatureSensor 35; set fanPwmLoadMinimum 0; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage 35
> set temperatureSensor 34; set fanPwmLoadMinimum 51; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage 34
> set fanPwmLoadMinimum 50; call esaTemperatureFanPolicyFlexibleThreshold
fanPwmLoad 50 0 0 0 0 0 0 0
vitesse.vsc055PWMC 0x2F 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> set temperatureSensor 20; set fanPwmLoadMinimum 0; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage 20
> set temperatureSensor 19; set fanPwmLoadMinimum 26; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage 19
> show log; set fanPwmLoadMinimum 25; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [19] degrees Celsius.
Load PWM [25] Percent to Fan [0]
Temperature = [19], Fan [0] set to 25 percent PWM
fanPwmLoad 25 0 0 0 0 0 0 0
vitesse.vsc055PWMC 0x27 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> hide log; set fanPwmLoadMinimum 100; call esaTemperatureFanPolicyFlexibleThreshold
> set temperatureSensor 0; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage 0
# Below zero counts as very hot.
> set temperatureSensor -1; call esaTemperatureFanPolicyFlexibleThreshold
fanPwmLoad 50 0 0 0 0 0 0 0
temperatureSensorAverage -1
vitesse.vsc055PWMC 0x2F 0x0 0x0 0x0 0x0 0x0 0x0 0x0

== A load off the ladder is reported and left
> use vsc055; set i2cConnected 1; hide bus; set fanPwmLoad 0 25 60; set temperatureSensor 31 31; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [31] degrees Celsius.
ESA never set this PWM Load [0] on Fan [0]?
Load PWM [50] Percent to Fan [1]
Temperature = [31], Fan [1] set to 50 percent PWM
ESA never set this PWM Load [60] on Fan [2]?
fanPwmLoad 0 50 60 0 0 0 0 0
temperatureSensorAverage 31
vitesse.vsc055PWMC 0x0 0x2F 0x0 0x0 0x0 0x0 0x0 0x0

== A failed fan sends all fans to full load, and nothing is averaged
> use vsc055; set i2cConnected 1; hide bus; set fanFaultStatus 2; set fanPwmLoad 50 100 0; set temperatureSensor 40 40; set temperatureSensorAverage 11; call esaTemperatureFanPolicyFlexibleThreshold
At least 1 Fan Fault, FanFaultStatus = [0x2]
Fan [0] sets to 100 percent PWM Load
Load PWM [100] Percent to Fan [0]
At least 1 Fan Fault, FanFaultStatus = [0x2]
Fan [2] sets to 100 percent PWM Load
Load PWM [100] Percent to Fan [2]
fanPwmLoad 100 100 100 0 0 0 0 0
vitesse.vsc055PWMC 0x3F 0x0 0x3F 0x0 0x0 0x0 0x0 0x0
> call esaTemperatureFanPolicyFlexibleThreshold

== The average is truncated, 16 bits wide and without unreadable sensors
> use vsc055; set i2cConnected 1; set coolingMaxNumber 0; set temperatureSensor 30 33; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [31] degrees Celsius.
temperatureSensorAverage 31
> set temperatureSensorMaxNumber 4; set temperatureSensor 32767 40 32767 20; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [30] degrees Celsius.
temperatureSensorAverage 30
> set temperatureSensorMaxNumber 2; set temperatureSensor -1 -2; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [-1] degrees Celsius.
temperatureSensorAverage -1
> set temperatureSensor 30000 30000; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [-2768] degrees Celsius.
temperatureSensorAverage -2768
> set temperatureSensorMaxNumber 4; set temperatureSensor 20000 20000 20000 20000; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [3616] degrees Celsius.
temperatureSensorAverage 3616
# Without a readable sensor the average stays and the ladder rests.
> set coolingMaxNumber 1; set fanPwmLoad 25; set temperatureSensor 32767 32767 32767 32767; call esaTemperatureFanPolicyFlexibleThreshold
No readable temperature sensor, temperatureSensorAverage stays [3616].
> set temperatureSensorMaxNumber 0; call esaTemperatureFanPolicyFlexibleThreshold
No readable temperature sensor, temperatureSensorAverage stays [3616].

== Groups and counts above the arrays
> use xyratex; set i2cConnected 1; hide log; set fanPwmLoad 25 25 25 25 25 25 25 25; set temperatureSensor 31 31; call esaTemperatureFanPolicyFlexibleThreshold
W 63 98=2F
W 63 99=2F
fanPwmLoad 50 50 25 25 25 25 25 25
temperatureSensorAverage 31
vitesse.vsc055PWMC 0x2F 0x2F 0x0 0x0 0x0 0x0 0x0 0x0
> use vsc055; set i2cConnected 1; set coolingMaxNumber 44; set temperatureSensorMaxNumber 255; set fanPwmLoad 25 25 25 25 25 25 25 25; set temperatureSensor 31 31 31 31 31 31 31 31; hide fields bus; show log; call esaTemperatureFanPolicyFlexibleThreshold
temperatureSensorAverage = [31] degrees Celsius.
Load PWM [50] Percent to Fan [0]
Temperature = [31], Fan [0] set to 50 percent PWM
Load PWM [50] Percent to Fan [1]
Temperature = [31], Fan [1] set to 50 percent PWM
Load PWM [50] Percent to Fan [2]
Temperature = [31], Fan [2] set to 50 percent PWM
Load PWM [50] Percent to Fan [3]
Temperature = [31], Fan [3] set to 50 percent PWM
Load PWM [50] Percent to Fan [4]
Temperature = [31], Fan [4] set to 50 percent PWM
Load PWM [50] Percent to Fan [5]
Temperature = [31], Fan [5] set to 50 percent PWM
Load PWM [50] Percent to Fan [6]
Temperature = [31], Fan [6] set to 50 percent PWM
Load PWM [50] Percent to Fan [7]
Temperature = [31], Fan [7] set to 50 percent PWM
> link 1; set coolingMaxNumber 1; set fanPwmLoad 25; set temperatureSensorMaxNumber 1; set temperatureSensor 50; set i2cConnected 1; show fields log; call esaTemperatureFanPolicyFlexibleThreshold
> link 0; set coolingMaxNumber 1; set fanPwmLoad 25; set temperatureSensorMaxNumber 1; set temperatureSensor 50; set i2cConnected 1; call esaTemperatureFanPolicyFlexibleThreshold

== Each crossing of a band is reported once
> link 5; set temperatureSensorMaxNumber 1; set temperatureSensor 35; call esaTemperatureEventLog
> set temperatureSensor 36; call esaTemperatureEventLog
temperatureReportStatus[0] reporting over 35 degrees Event.
event   temperature: information, sensor 0 of 1 at 36 degrees, over 35
temperatureReportStatus 0x1 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> set temperatureSensor 45; call esaTemperatureEventLog
temperatureReportStatus[0] already reported over 35 degrees Event.
> set temperatureSensor 46; call esaTemperatureEventLog
temperatureReportStatus[0] reporting over 45 degrees Event.
event   temperature: warning, sensor 0 of 1 at 46 degrees, over 45
temperatureReportStatus 0x2 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> set temperatureSensor 55; call esaTemperatureEventLog
temperatureReportStatus[0] already reported over 45 degrees Event.
> set temperatureSensor 56; call esaTemperatureEventLog
temperatureReportStatus[0] reporting over 55 degrees Event.
event   temperature: warning, sensor 0 of 1 at 56 degrees, over 55
temperatureReportStatus 0x4 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> set temperatureSensor 120; call esaTemperatureEventLog
temperatureReportStatus[0] already reported over 55 degrees Event.
> set temperatureSensor 32767; call esaTemperatureEventLog
> set temperatureSensor 50; call esaTemperatureEventLog
temperatureReportStatus[0] reporting over 45 degrees Event.
event   temperature: warning, sensor 0 of 1 at 50 degrees, over 45
temperatureReportStatus 0x2 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> set temperatureSensor 60; call esaTemperatureEventLog
temperatureReportStatus[0] reporting over 55 degrees Event.
event   temperature: warning, sensor 0 of 1 at 60 degrees, over 55
temperatureReportStatus 0x4 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> set temperatureSensor 35; call esaTemperatureEventLog
temperatureReportStatus[0] reset all Temperature Events.
event   temperature: information, sensor 0 of 1 at 35 degrees, below 35
temperatureReportStatus 0x0 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> set temperatureSensor -5; call esaTemperatureEventLog
# Every sensor has its own band; counts above the array report the array only.
> hide log fields; set temperatureSensorMaxNumber 255; set temperatureSensor 30 50 30 50 30 30 30 60; call esaTemperatureEventLog
event   temperature: warning, sensor 1 of 255 at 50 degrees, over 45
event   temperature: warning, sensor 3 of 255 at 50 degrees, over 45
event   temperature: warning, sensor 7 of 255 at 60 degrees, over 55

== Overheat: above the limit on each call, said as 60 whatever the limit
> link 5; set overheatTemperatureLimit 50; set temperatureSensorAverage 50; call esaTemperatureOverheatCheck
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
> set temperatureSensorAverage 51; call esaTemperatureOverheatCheck
Temperature average over 60 degrees!
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
Set the new Fault bit [0x8].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
Send request of Orderly Shutdown to Startup
led     composite fault LED on
mail    e-mail notification
event   overheated, shutdown requested: error, enclosure VSC055
stop    orderly shutdown
compositeFaultStatus 0x80000008
> call esaTemperatureOverheatCheck
Temperature average over 60 degrees!
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] exists currently.
The Fault bit [0x8] is already set.
Send request of Orderly Shutdown to Startup
event   overheated, shutdown requested: error, enclosure VSC055
stop    orderly shutdown
> set temperatureSensorAverage 50; call esaTemperatureOverheatCheck
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] exists currently.
Clear the current Fault bit [0x8].
[Clear] Composite Fault LED in Startup.
Set Backplane Alarm State to [MUTE_S3].
led     composite fault LED off
alarmState 3
compositeFaultStatus 0x0
> set temperatureSensorAverage -1; hide log; call esaTemperatureOverheatCheck
led     composite fault LED on
mail    e-mail notification
event   overheated, shutdown requested: error, enclosure VSC055
stop    orderly shutdown
alarmState 1
compositeFaultStatus 0x80000008
> set temperatureSensorAverage 0; call esaTemperatureOverheatCheck
led     composite fault LED off
alarmState 3
compositeFaultStatus 0x0
