# The enclosure control page: what is stored, what is acted on, and where the walk ends.

== Drive fault LEDs follow every record without SELECT, and a repeated page changes nothing
> use vsc055; set i2cConnected 1; set deviceMaxNumber 4; set powerSupplyMaxNumber 0; set coolingMaxNumber 0; set temperatureSensorMaxNumber 0; set audibleAlarmMaxNumber 0
> send command=29 1D10000000FF0000 0200000000000000 000000FF 00000004 FFFFFFFB 12345604 00000000 00000000 00000000 00000000 00000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn On Fault LED on Drive [0].
Set Fault LED on Drive [0]
vsc055GPD[6] = [0x0]
W 41 06=00
Drive Fault LED already OFF Drive [1].
Turn On Fault LED on Drive [2].
Set Fault LED on Drive [2]
vsc055GPD[6] = [0x0]
W 41 06=00
Drive Fault LED already OFF Drive [3].
Send out a Diagnostic Page.
event   drive fault LEDs: warning, drives 4, lit 0x0005 (drives 0, 2)
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
driveFaultLedStatus0 5
deviceElementControlOverall 0xFF
deviceElementControl 00000004 FFFFFFFB 12345604 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
> hide fields; send command=29 1D10000000FF0000 0200000000000000 000000FF 00000004 FFFFFFFB 12345604 00000000 00000000 00000000 00000000 00000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Drive Fault LED already ON Drive [0].
Drive Fault LED already OFF Drive [1].
Drive Fault LED already ON Drive [2].
Drive Fault LED already OFF Drive [3].
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0
> send command=29 1D10000000FF0000 0200000000000000 000000FF 00000000 00000000 12345604 00000000 00000000 00000000 00000000 00000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn Off Fault LED on Drive [0].
Clear Fault LED on Drive [0]
vsc055GPD[6] = [0x1]
W 41 06=01
Drive Fault LED already OFF Drive [1].
Drive Fault LED already ON Drive [2].
Drive Fault LED already OFF Drive [3].
Send out a Diagnostic Page.
event   drive fault LEDs: warning, drives 4, lit 0x0004 (drive 2)
reply   to environment manager: GOOD, 68 bytes, handle 0

== The volume manager drives LEDs only and gets no answer
> use vsc055; set i2cConnected 1; set deviceMaxNumber 1; set powerSupplyMaxNumber 1; set coolingMaxNumber 1; set temperatureSensorMaxNumber 1; set powerSupplyStatus 7
> send from=20 command=29 1D10000000FF0000 0200000000000000 000000FF 80000004 00000080 80000002 00000080 80000004 00000080 80010203 00000080 80000002
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn On Fault LED on Drive [0].
Set Fault LED on Drive [0]
vsc055GPD[6] = [0x0]
W 41 06=00
Rx Drive Fault LED SES msg from VM. No further processing.
Rx Drive Fault LED SES msg from VM. No returning Status msg.
event   drive fault LEDs: warning, drives 1, lit 0x0001 (drive 0)
pageCodeInRecentSndDiagCmd 2
driveFaultLedStatus0 1
deviceElementControlOverall 0xFF
deviceElementControl 80000004 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
# Its list may end with the drives.
> hide fields; send from=20 command=29 1D10000000FF0000 0200000000000000 000000FF 80000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn Off Fault LED on Drive [0].
Clear Fault LED on Drive [0]
vsc055GPD[6] = [0x1]
W 41 06=01
Rx Drive Fault LED SES msg from VM. No further processing.
Rx Drive Fault LED SES msg from VM. No returning Status msg.
event   drive fault LEDs: warning, drives 1, lit 0x0000 (none)

== Supply faults follow selected records
> use vsc055; set i2cConnected 1; set deviceMaxNumber 0; set powerSupplyStatus 7; hide bus
> put supply 0 80000002
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn On Fault LED for Power Supply.
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
Set the new Fault bit [0x2].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
Send out a Diagnostic Page.
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x03 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
powerSupplyStatus 0x3
compositeFaultStatus 0x80000002
powerSupplyElementControlOverall 0x80
powerSupplyElementControl 80000002 00000000 00000000
> set powerSupplyStatus 7; set compositeFaultStatus 0; put supply 0 80000002, supply 1 80000002
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn On Fault LED for Power Supply.
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
Set the new Fault bit [0x2].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
Fault LED already [ON] for Power Supply.
Send out a Diagnostic Page.
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x03 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
powerSupplyStatus 0x3
compositeFaultStatus 0x80000002
powerSupplyElementControl 80000002 80000002 00000000
> set powerSupplyStatus 7; set compositeFaultStatus 0; put supply 0 80000002, supply 1 80000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn On Fault LED for Power Supply.
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
Set the new Fault bit [0x2].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
Turn Off Fault LED for Power Supply.
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] exists currently.
Clear the current Fault bit [0x2].
[Clear] Composite Fault LED in Startup.
Set Backplane Alarm State to [MUTE_S3].
Send out a Diagnostic Page.
led     composite fault LED on
mail    e-mail notification
led     composite fault LED off
event   power supply status: warning, supplies 2, status 0x07 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
alarmState 3
powerSupplyElementControl 80000002 80000000 00000000
> set powerSupplyStatus 3; put supply 0 00000002, supply 1 80000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn Off Fault LED for Power Supply.
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Send out a Diagnostic Page.
event   power supply status: warning, supplies 2, status 0x07 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
powerSupplyStatus 0x7
powerSupplyElementControl 00000002 80000000 00000000
> put supply 0 80000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Fault LED already [OFF] for Power Supply.
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0
powerSupplyElementControl 80000000 00000000 00000000
> set powerSupplyStatus 0; put supply 0 80000002
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Fault LED already [ON] for Power Supply.
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0
powerSupplyElementControl 80000002 00000000 00000000
# The overall word does not select, or no record is selected.
> send command=29 1D10000000FF0000 0200000000000000 00000000 FFFFFF7F 80000000 80000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Enclosure control page is cut by the end of the message, mmsg_length = [96].
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0
powerSupplyElementControlOverall 0xFFFFFF7F
powerSupplyElementControl 80000000 80000000 00000000
> send command=29 1D10000000FF0000 0200000000000000 00000000 00000080 7F0000FF 00000002
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Enclosure control page is cut by the end of the message, mmsg_length = [96].
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0
powerSupplyElementControlOverall 0x80
powerSupplyElementControl 7F0000FF 00000002 00000000

== A supply fault is that of the chassis
> hide log fields bus; link 3; set i2cConnected 1; set powerSupplyMaxNumber 1; set powerSupplyStatus 4; show state fields; put supply 0 80000002; put supply 0 80000000
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 1, status 0x00 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
powerSupplyStatus 0x0
compositeFaultStatus 0x80000002
powerSupplyElementControlOverall 0x80
powerSupplyElementControl 80000002 00000000 00000000
led     composite fault LED off
event   power supply status: warning, supplies 1, status 0x04 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
powerSupplyStatus 0x4
alarmState 3
compositeFaultStatus 0x0
powerSupplyElementControl 80000000 00000000 00000000
> link 4; set i2cConnected 0; set powerSupplyMaxNumber 1; set powerSupplyStatus 4; put supply 0 80000002; put supply 0 80000000
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 1, status 0x00 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
powerSupplyStatus 0x0
compositeFaultStatus 0x80000001
powerSupplyElementControlOverall 0x80
powerSupplyElementControl 80000002 00000000 00000000
led     composite fault LED off
event   power supply status: warning, supplies 1, status 0x04 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
powerSupplyStatus 0x4
alarmState 3
compositeFaultStatus 0x0
powerSupplyElementControl 80000000 00000000 00000000
winbond[0] 00000000 00000000 00000000 00000000 40000000 000000
winbond[1] 00000000 00000000 00000000 00000000 40000000 000000
winbond[2] 00000000 00000000 00000000 00000000 40000000 000000
winbond[3] 00000000 00000000 00000000 00000000 40000000 000000
> link 6; set i2cConnected 0; set powerSupplyMaxNumber 1; set powerSupplyStatus 4; put supply 0 80000002; put supply 0 80000000
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 1, status 0x00 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
powerSupplyStatus 0x0
compositeFaultStatus 0x80000001
powerSupplyElementControlOverall 0x80
powerSupplyElementControl 80000002 00000000 00000000
led     composite fault LED off
event   power supply status: warning, supplies 1, status 0x04 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
powerSupplyStatus 0x4
alarmState 3
compositeFaultStatus 0x0
powerSupplyElementControl 80000000 00000000 00000000
winbond[0] 00000000 00000000 00000000 00000000 40000000 000000
> link 7; set i2cConnected 0; set powerSupplyMaxNumber 1; set powerSupplyStatus 4; put supply 0 80000002; put supply 0 80000000
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 1, status 0x00 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
powerSupplyStatus 0x0
compositeFaultStatus 0x80000002
powerSupplyElementControlOverall 0x80
powerSupplyElementControl 80000002 00000000 00000000
led     composite fault LED off
event   power supply status: warning, supplies 1, status 0x04 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
powerSupplyStatus 0x4
alarmState 3
compositeFaultStatus 0x0
powerSupplyElementControl 80000000 00000000 00000000

== Selected fans are switched, alone or in groups
> use vsc055; set i2cConnected 1; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; set coolingMaxNumber 4; set temperatureSensorMaxNumber 4; set fanPwmLoad 50 50 50 50 50 50 50 50; set vitesse.vsc055GPD 0 255
> put fans 0 80000004, fans 1 80000000, fans 2 00000004, fans 3 800000FB
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn On Fan [0].
Load PWM [100] Percent to Fan [0]
W 41 98=3F
Turn Off Fan [1].
Load PWM [0] Percent to Fan [1]
W 41 99=00
W 41 01=FD
Turn Off Fan [3].
Load PWM [0] Percent to Fan [3]
W 41 9B=00
W 41 01=F5
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
coolingElementOnOff 2 1 0 1 0 0 0 0
fanPwmLoad 100 0 50 0 50 50 50 50
coolingElementControlOverall 0x80
coolingElementControl 80000004 80000000 00000004 800000FB 00000000 00000000 00000000 00000000
vitesse.vsc055GPD 0x0 0xF5 0x0 0x0 0x0 0x0 0x0 0x0
vitesse.vsc055PWMC 0x3F 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> send command=29 1D10000000FF0000 0200000000000000 00000000 00000000 FFFFFF7F 80000004 800000FF 80000000 80000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Enclosure control page is cut by the end of the message, mmsg_length = [108].
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0
coolingElementControlOverall 0xFFFFFF7F
coolingElementControl 80000004 800000FF 80000000 80000000 00000000 00000000 00000000 00000000
> use xyratex; set i2cConnected 1; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; set coolingMaxNumber 6; set fanPwmLoad 50 50 50 50 50 50 50 50
> put fans 3 80000004
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn On Fan [3].
Load PWM [100] Percent to Fan [0]
W 63 98=3F
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
coolingElementOnOff 2 2 2 2 0 0 0 0
fanPwmLoad 100 100 100 100 50 50 50 50
coolingElementControlOverall 0x80
coolingElementControl 00000000 00000000 00000000 80000004 00000000 00000000 00000000 00000000
temperatureSensorElementControl 80000004 00000000 00000000 00000000 00000000 00000000 00000000 00000000
vitesse.vsc055PWMC 0x3F 0x0 0x0 0x0 0x0 0x0 0x0 0x0
> put fans 5 80000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn Off Fan [5].
Load PWM [0] Percent to Fan [1]
W 63 99=00
W 63 01=00
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0
coolingElementOnOff 2 2 2 2 1 1 1 1
fanPwmLoad 100 100 100 100 0 0 0 0
coolingElementControl 00000000 00000000 00000000 00000000 00000000 80000000 00000000 00000000
temperatureSensorElementControl 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
> put fans 0 80000004, fans 1 80000000, fans 4 80000004
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn On Fan [0].
Load PWM [100] Percent to Fan [0]
W 63 98=3F
Turn Off Fan [1].
Load PWM [0] Percent to Fan [0]
W 63 98=00
W 63 01=00
Turn On Fan [4].
Load PWM [100] Percent to Fan [1]
W 63 99=3F
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0
coolingElementOnOff 1 1 1 1 2 2 2 2
fanPwmLoad 0 0 0 0 100 100 100 100
coolingElementControl 80000004 80000000 00000000 00000000 80000004 00000000 00000000 00000000
temperatureSensorElementControl 00000000 80000004 00000000 00000000 00000000 00000000 00000000 00000000
vitesse.vsc055PWMC 0x0 0x3F 0x0 0x0 0x0 0x0 0x0 0x0

== Temperature records are stored from a place shifted by the number of fans
> use vsc055; set i2cConnected 1; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; hide log bus; set coolingMaxNumber 2; set temperatureSensorMaxNumber 2
> send command=29 1D10000000FF0000 0200000000000000 00000000 00000000 00000000 00110000 00120000 00002000 00210000 00220000 00000080 80000002
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
alarmState 3
temperatureSensorElementControlOverall 0x2000
audibleAlarmElementControlOverall 0x80
coolingElementControl 00110000 00120000 00000000 00000000 00000000 00000000 00000000 00000000
temperatureSensorElementControl 00210000 00220000 00000000 00000000 00000000 00000000 00000000 00000000
audibleAlarmElementControl 80000002
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x40 0x0 0x0 0x0
> set coolingMaxNumber 1; set temperatureSensorMaxNumber 3; set alarmState 0; send command=29 1D10000000FF0000 0200000000000000 00000000 00000000 00000000 00110000 00002000 00210000 00220000 00230000 00000080 80000002
reply   to environment manager: GOOD, 68 bytes, handle 0
alarmState 3
temperatureSensorElementControlOverall 0x220000
temperatureSensorElementControl 00230000 00000080 80000002 00000000 00000000 00000000 00000000 00000000
> set coolingMaxNumber 3; set temperatureSensorMaxNumber 1; set alarmState 0; send command=29 1D10000000FF0000 0200000000000000 00000000 00000000 00000000 00110000 00120000 00130000 00002000 00210000 00000080 80000002
reply   to environment manager: GOOD, 68 bytes, handle 0
alarmState 3
temperatureSensorElementControlOverall 0x120000
coolingElementControl 00110000 00120000 00130000 00000000 00000000 00000000 00000000 00000000
temperatureSensorElementControl 00130000 00000080 80000002 00000000 00000000 00000000 00000000 00000000

== Counts above the arrays are walked and never acted on
> use vsc055; set i2cConnected 1; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; set coolingMaxNumber 10; set temperatureSensorMaxNumber 12; hide log; put fans 0 80000004, fans 7 80000004, fans 8 80000004, fans 9 80000004, sensors 11 80000000, alarms 0 80000002
W 41 98=3F
W 41 9F=3F
W 41 04=00
W 41 04=40
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
coolingElementOnOff 2 0 0 0 0 0 0 2
fanPwmLoad 100 0 0 0 0 0 0 100
alarmState 3
coolingElementControlOverall 0x80
audibleAlarmElementControlOverall 0x80
coolingElementControl 80000004 00000000 00000000 00000000 00000000 00000000 00000000 80000004
audibleAlarmElementControl 80000002
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x40 0x0 0x0 0x0
vitesse.vsc055PWMC 0x3F 0x0 0x0 0x0 0x0 0x0 0x0 0x3F

== The alarm by precedence
> use vsc055; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; set coolingMaxNumber 0; set temperatureSensorMaxNumber 0; hide bus messages
> set alarmState 7; put alarms 0 800000FF
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Set Backplane Alarm State to [MUTE_S3].
Clear the Alarm on the Power Supply.
Send out a Diagnostic Page.
pageCodeInRecentSndDiagCmd 2
alarmState 3
audibleAlarmElementControlOverall 0x80
audibleAlarmElementControl 800000FF
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x40 0x0 0x0 0x0
> set alarmState 7; put alarms 0 80000002
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Set Backplane Alarm State to [MUTE_S3].
Clear the Alarm on the Power Supply.
Send out a Diagnostic Page.
alarmState 3
audibleAlarmElementControl 80000002
> set alarmState 7; put alarms 0 80000080
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Set Backplane Alarm State to [FAULT_S1].
Send out a Diagnostic Page.
alarmState 1
audibleAlarmElementControl 80000080
> set alarmState 7; put alarms 0 80000040
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Set Backplane Alarm State to [FAULT_S1].
Send out a Diagnostic Page.
alarmState 1
audibleAlarmElementControl 80000040
> set alarmState 7; put alarms 0 800000F0
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Set Backplane Alarm State to [FAULT_S1].
Send out a Diagnostic Page.
alarmState 1
audibleAlarmElementControl 800000F0
> set alarmState 7; put alarms 0 80000020
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Set Backplane Alarm State to [FAULT_S1].
Send out a Diagnostic Page.
alarmState 1
audibleAlarmElementControl 80000020
> set alarmState 7; put alarms 0 80000010
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Set Backplane Alarm State to [FAULT_S1].
Send out a Diagnostic Page.
alarmState 1
audibleAlarmElementControl 80000010
> set alarmState 7; put alarms 0 80000008
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Send out a Diagnostic Page.
audibleAlarmElementControl 80000008
> set alarmState 7; put alarms 0 7F0000FF
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Send out a Diagnostic Page.
audibleAlarmElementControl 7F0000FF
> send command=29 1D10000000FF0000 0200000000000000 00000000 00000000 00000000 00000000 00000020 A0000002
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Send out a Diagnostic Page.
audibleAlarmElementControlOverall 0x20
audibleAlarmElementControl A0000002
> link 2; set audibleAlarmMaxNumber 1; put alarms 0 800000FF
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Set the Alarm State to [MUTE_S3].
Send out a Diagnostic Page.
pageCodeInRecentSndDiagCmd 2
alarmState 3
audibleAlarmElementControlOverall 0x80
audibleAlarmElementControl 800000FF
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0x3 0x0 0x0
> set alarmState 7; put alarms 0 80000080
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Set the Alarm State to [CRITICAL_S4].
Send out a Diagnostic Page.
alarmState 4
audibleAlarmElementControl 80000080
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0x4 0x0 0x0
> set alarmState 7; put alarms 0 800000F0
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Set the Alarm State to [CRITICAL_S4].
Send out a Diagnostic Page.
alarmState 4
audibleAlarmElementControl 800000F0
> set alarmState 7; put alarms 0 80000010
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Set the Alarm State to [FAULT_S1].
Send out a Diagnostic Page.
alarmState 1
audibleAlarmElementControl 80000010
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x0 0x1 0x0 0x0

== Without a back-end the books are kept
> link 1; set deviceMaxNumber 1; set powerSupplyMaxNumber 1; set coolingMaxNumber 1; set temperatureSensorMaxNumber 1; set audibleAlarmMaxNumber 1; set powerSupplyStatus 7; hide log; put drives 0 00000004, supply 0 80000002, fans 0 80000004, alarms 0 80000040
event   drive fault LEDs: warning, drives 1, lit 0x0001 (drive 0)
event   power supply status: warning, supplies 1, status 0x03 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
driveFaultLedStatus0 1
powerSupplyStatus 0x3
coolingElementOnOff 2 0 0 0 0 0 0 0
fanPwmLoad 100 0 0 0 0 0 0 0
alarmState 1
deviceElementControlOverall 0x80
powerSupplyElementControlOverall 0x80
coolingElementControlOverall 0x80
audibleAlarmElementControlOverall 0x80
deviceElementControl 00000004 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
powerSupplyElementControl 80000002 00000000 00000000
coolingElementControl 80000004 00000000 00000000 00000000 00000000 00000000 00000000 00000000
audibleAlarmElementControl 80000040
> link 9; set deviceMaxNumber 1; set powerSupplyMaxNumber 1; set coolingMaxNumber 1; set temperatureSensorMaxNumber 1; set audibleAlarmMaxNumber 1; set powerSupplyStatus 7; put drives 0 00000004, supply 0 80000000, fans 0 80000000, alarms 0 80000002
event   drive fault LEDs: warning, drives 1, lit 0x0001 (drive 0)
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
driveFaultLedStatus0 1
coolingElementOnOff 1 0 0 0 0 0 0 0
alarmState 3
deviceElementControlOverall 0x80
powerSupplyElementControlOverall 0x80
coolingElementControlOverall 0x80
audibleAlarmElementControlOverall 0x80
deviceElementControl 00000004 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
powerSupplyElementControl 80000000 00000000 00000000
coolingElementControl 80000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
audibleAlarmElementControl 80000002

== Only records wholly inside the message are handled
> hide log fields; lengths use vsc055, set i2cConnected 1, set powerSupplyStatus 7, set deviceMaxNumber 2, set coolingMaxNumber 2 | put drives 0 00000004, drives 1 00000004, supply 0 80000002, supply 1 80000002, fans 0 80000004, fans 1 80000004, sensors 1 00210000, alarms 0 80000002
64 bytes
reply   to environment manager: GOOD, 68 bytes, handle 0
70 bytes
73 bytes
reply   to environment manager: GOOD, 68 bytes, handle 0
88 bytes
W 41 06=00
event   drive fault LEDs: warning, drives 2, lit 0x0001 (drive 0)
reply   to environment manager: GOOD, 68 bytes, handle 0
92 bytes
W 41 06=00
W 41 06=00
event   drive fault LEDs: warning, drives 2, lit 0x0003 (drives 0, 1)
reply   to environment manager: GOOD, 68 bytes, handle 0
100 bytes
W 41 06=00
W 41 06=00
event   drive fault LEDs: warning, drives 2, lit 0x0003 (drives 0, 1)
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x03 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
112 bytes
W 41 06=00
W 41 06=00
W 41 98=3F
event   drive fault LEDs: warning, drives 2, lit 0x0003 (drives 0, 1)
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x03 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
116 bytes
W 41 06=00
W 41 06=00
W 41 98=3F
W 41 99=3F
event   drive fault LEDs: warning, drives 2, lit 0x0003 (drives 0, 1)
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x03 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
136 bytes
W 41 06=00
W 41 06=00
W 41 98=3F
W 41 99=3F
W 41 04=00
W 41 04=40
event   drive fault LEDs: warning, drives 2, lit 0x0003 (drives 0, 1)
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x03 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
# The walk over fans ends with the message, above the array, too.
> show log fields; hide bus; use vsc055; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; set coolingMaxNumber 44; send command=29 1D10000000FF0000 0200000000000000 00000000 00000000 00000080 80000004
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Turn On Fan [0].
Load PWM [100] Percent to Fan [0]
Enclosure control page is cut by the end of the message, mmsg_length = [96].
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0
pageCodeInRecentSndDiagCmd 2
coolingElementOnOff 2 0 0 0 0 0 0 0
fanPwmLoad 100 0 0 0 0 0 0 0
coolingElementControlOverall 0x80
coolingElementControl 80000004 00000000 00000000 00000000 00000000 00000000 00000000 00000000
vitesse.vsc055PWMC 0x3F 0x0 0x0 0x0 0x0 0x0 0x0 0x0
