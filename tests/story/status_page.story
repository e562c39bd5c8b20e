# Replies to RECEIVE DIAGNOSTIC RESULTS: the configuration page, the status page, and who gets one.

== The whole reply, with what peers last asked for
> link 1; set deviceMaxNumber 16; set powerSupplyMaxNumber 2; set coolingMaxNumber 2; set temperatureSensorMaxNumber 3; set audibleAlarmMaxNumber 1; set temperatureSensor 25 0 32767; hide log
> hide messages fields; put drives 2 00000004, drives 15 FFFFFFFF, supply 1 80000006, fans 1 80000004, alarms 0 A00000FD
> show hex; send from=29 handle=0xA1B2C3D4 1C800200FFFF0000
  ........ ........ 0E0100BC 1200001C 21401D00 20000000 00000000 00000000
  00000000 00000000 A1B2C3D4 00000000 00000000 00000000 00000000 00000000
  00020000 78000000 00000000 00010000 00010100 00010200 04010300 00010400
  00010500 00010600 00010700 00010800 00010900 00010A00 00010B00 00010C00
  00010D00 00010E00 00010F00 04000000 00010000 01010000 07000000 00000000
  E0000000 E4000000 0000002D 00000014 80000000 00000000 00200000
# An unknown type is answered alike.
> hide hex; show page; set enclosureType 9; page
drives  00000000 01000000 01010000 01020004 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0004
supply  00000000 01000001 01000007
fans    00000000 000000E0 000000E4
sensors 00000000 00002D00 00001480 00000000
alarms  00000000 200000(F8)

== The link fields are the message's own address, the recipient is the requestor
> link 1; hide log fields; show hex
> send from=0 command=29 1D10000000000000
reply   to endpoint 0: GOOD, 68 bytes, handle 0
  ........ ........ 0E010044 1200001D 21400000 00000001 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000
> send from=31 command=29 1D10000000000000
reply   to endpoint 31: GOOD, 68 bytes, handle 0
  ........ ........ 0E010044 1200001D 21401F00 80000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000
> send from=32 command=29 1D10000000000000
reply   to endpoint 32: GOOD, 68 bytes, handle 0
  ........ ........ 0E010044 1200001D 21402000 00000000 00000001 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000
> send from=63 command=29 1D10000000000000
reply   to endpoint 63: GOOD, 68 bytes, handle 0
  ........ ........ 0E010044 1200001D 21403F00 00000000 80000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000
# A requestor that is no recipient costs one line and touches nothing.
> use vsc055; set i2cConnected 1; hide fields hex; show log; send from=64 command=29 1D10000000000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
MMSG requestor [64] can not be a recipient, no reply.
> send from=255 1C800200FFFF0000
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
MMSG requestor [255] can not be a recipient, no reply.

== The configuration page lists the types with their counts, and needs room for all of it
> link 1; set elementTypeMaxNumber 5; set deviceMaxNumber 16; set powerSupplyMaxNumber 3; set coolingMaxNumber 44; set temperatureSensorMaxNumber 255; set audibleAlarmMaxNumber 1; hide fields log; show hex
> send 1C80010000430000
> send 1C80010000440000
reply   to environment manager: GOOD, configuration page, 132 bytes, handle 0
  ........ ........ 0E010084 1200001C 21401A00 04000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00010000 40000000 00200005 24000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00011000 00020300 00032C00 0004FF00
  00060100
> lengths set audibleAlarmMaxNumber 1 | send 1C80010044000000
64 bytes
69 bytes
reply   to environment manager: GOOD, configuration page, 132 bytes, handle 0
  ........ ........ 0E010084 1200001C 21401A00 04000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00010000 40000000 00200005 24000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00011000 00020300 00032C00 0004FF00
  00060100
# Types beyond the five are empty.
> hide hex; set elementTypeMaxNumber 255; send 1C80010004 2B 0000; send 1C80010004 2C 0000
reply   to environment manager: GOOD, configuration page, 1132 bytes, handle 0
> show hex; set elementTypeMaxNumber 6; send 1C800100 0048 0000
reply   to environment manager: GOOD, configuration page, 136 bytes, handle 0
  ........ ........ 0E010088 1200001C 21401A00 04000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00010000 44000000 00200006 24000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00011000 00020300 00032C00 0004FF00
  00060100 00000000

== Which command gets which answer
> link 1; hide fields
> send 1C80000000FF0000
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
> send 1C80030000FF0000
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Un-supported SES Page [3].
> send 1C80FF0000FF0000
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Un-supported SES Page [255].
> send command=30 1C80010000FF0000
Receive a MMSG to the Enclosure Services Adapter
Un-supported SES Command [30].
> show hex; send command=29 1D08000000000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Send out a Diagnostic Page.
reply   to environment manager: CHECK CONDITION, key 5, code 0x24/0x00, 92 bytes, handle 0
  ........ ........ 0E01005C 1200001D 21401A00 04000000 00000000 00000000
  00000000 00000002 00000000 00000000 00000000 00000000 00000000 00000000
  02E00050 00000000 00000000 00000000 00240000 00000000 00000000
> hide hex; send command=29 1D00000000000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
Send out a Diagnostic Page.
reply   to environment manager: GOOD, 68 bytes, handle 0

== Temperatures are offset by twenty and flagged
> link 1; set temperatureSensorMaxNumber 8; set temperatureSensor -128 -20 -1 0 1 25 55 56; hide log fields; show page; page
reply   to environment manager: GOOD, enclosure status page, 124 bytes, handle 0
drives  00000000
supply  00000000
fans    00000000
sensors 00000000 000094C0 000000C0 000013C0 00001480 00001500 00002D00 00004B00 00004C20
alarms  000000(00)
> set temperatureSensor 60 61 127 32767 44 45 46 47; page
reply   to environment manager: GOOD, enclosure status page, 124 bytes, handle 0
sensors 00000000 00005020 00005130 00009330 00000000 00004000 00004100 00004200 00004300

== Fan speeds travel in ten bits of ten RPM; a fan that cannot be read is answered as running
> use vsc055; set i2cConnected 1; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; set temperatureSensorMaxNumber 0; set coolingMaxNumber 5; set fanSpeedDivisor 1; hide bus log fields; show page
# 0, 4706, 10256, 10344 RPM and none.
> reg 41 32 00; reg 41 36 FF; reg 41 3A 75; reg 41 3E 74; reg 41 42 FE; page
reply   to environment manager: GOOD, enclosure status page, 116 bytes, handle 0
drives  00000000
supply  00000000
fans    00000000 00000008 000000E0 000001E0 00000AE0 0040D8E0
sensors 00000000
alarms  00000000 000000(02)
> show log; set coolingMaxNumber 1; reg 41 32 75; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Fan [0] has Vitesse Fan Speed value = [117].
Fan [0] has RPM [10256] divided by a factor of 10.
Send out a Diagnostic Page.
reply   to environment manager: GOOD, enclosure status page, 100 bytes, handle 0
fans    00000000 000001E0

== Elements above the arrays are answered as unreadable; a page that fits no message is not answered
> use vsc055; set i2cConnected 1; set deviceMaxNumber 1; set powerSupplyMaxNumber 0; set coolingMaxNumber 9; set temperatureSensorMaxNumber 10; hide log fields; show page; page
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
led     composite fault LED on
mail    e-mail notification
event   device LM75 of sensor 2: warning, enclosure VSC055, does not answer
event   device LM75 of sensor 3: warning, enclosure VSC055, does not answer
event   device LM75 of sensor 4: warning, enclosure VSC055, does not answer
event   device LM75 of sensor 5: warning, enclosure VSC055, does not answer
event   information 0: warning, enclosure VSC055, argument 0xffffffff
reply   to environment manager: GOOD, enclosure status page, 176 bytes, handle 0
drives  00000000 01000000
supply  00000000
fans    00000000 0040F4E0 0040F4E0 0040F4E0 00000008 00000008 00000008 00000008 00000008 000000E0
sensors 00000000 00002D00 00002D00 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
alarms  00000000 000000(02)
> link 1; set deviceMaxNumber 255; set powerSupplyMaxNumber 255; set coolingMaxNumber 255; set temperatureSensorMaxNumber 226; set audibleAlarmMaxNumber 1; hide page; page
reply   to environment manager: GOOD, enclosure status page, 4060 bytes, handle 0
> show log; set temperatureSensorMaxNumber 227; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Enclosure status page of [4000] bytes does not fit a message.

== The alarm tells whether it sounds and echoes the last request
# The flags are the byte that is left out: they are read where the page was built.
> use vsc055; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; set coolingMaxNumber 0; set temperatureSensorMaxNumber 0; hide log bus fields messages; show page
> set alarmState 0; page
drives  00000000
supply  00000000
fans    00000000
sensors 00000000
alarms  00000000 000000(02)
> set alarmState 1; page
alarms  00000000 000000(00)
> put alarms 0 00000002; page
alarms  00000000 000000(01)
> put alarms 0 00000080; page
alarms  00000000 000000(80)
> put alarms 0 00000040; page
alarms  00000000 000000(40)
> put alarms 0 00000020; page
alarms  00000000 000000(20)
> put alarms 0 00000010; page
alarms  00000000 000000(10)
> put alarms 0 00000008; page
alarms  00000000 000000(08)
> put alarms 0 00000005; page
alarms  00000000 000000(00)
> send command=29 1D10000000FF0000 0200000000000000 00000000 00000000 00000000 00000000 FFFFFF7F FFFFFFFF; page
alarms  00000020 200000(F9)
> send command=29 1D10000000FF0000 0200000000000000 00000000 00000000 00000000 00000000 FFFFFF5F DFFFFF00; page
alarms  00000000 000000(00)
> set enclosureType 1; set alarmState 1; page
> set alarmState 0; put alarms 0 00000002; page
alarms  00000000 000000(03)

== Events of a reading go out whole before the reply
> use vsc055; set i2cConnected 1; set deviceMaxNumber 1; set coolingMaxNumber 1; set temperatureSensorMaxNumber 1; cut 0x4C; hide log bus; show hex; page
event   power supply status: warning, supplies 2, status 0x02 (voltage bad, redundancy good)
  ........ ........ 0E010168 08000001 21000000 08000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000002 03010006 05000000 00000000
  00000002 00000000 00000000 00000000 00000000 00000000 00000002 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000
led     composite fault LED on
  ........ ........ 0E010040 0C00000E 21000000 00040000 00000000 00000000
  00000000 00000000 00000000 00000002 00000002 00000000 00000000 00000000
mail    e-mail notification
  ........ ........ 0E010040 0C000010 21000000 00040000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
event   device LM75 of sensor 0: warning, enclosure VSC055, does not answer
  ........ ........ 0E010168 08000001 21000000 08000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000002 0301000A 05000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000004 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 FFFFFFFF 00000000 00000000 00000000 00000000 00000000
  00000000 00000000
reply   to environment manager: GOOD, enclosure status page, 116 bytes, handle 0
  ........ ........ 0E010074 1200001C 21401A00 04000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00020000 30000000 00000000 00010000 00000000 00010000 01010000 01000000
  000040F4 E0000000 00000000 00000000 00000000
i2cDeviceFaultStatus 0x2
powerSupplyStatus 0x2
temperatureSensor 32767 0 0 0 0 0 0 0
compositeFaultStatus 0x80000010
