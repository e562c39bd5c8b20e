# Replies to RECEIVE DIAGNOSTIC RESULTS, in short: pages of whole enclosures, and the configuration
# page, are judged by laws.

== A requestor that is no recipient costs one line and touches nothing
> use vsc055; set i2cConnected 1; hide fields bus; send from=64 command=29 1D10000000000000
Receive a MMSG to the Enclosure Services Adapter
ESA receives SND DIAG Cmd.
MMSG requestor [64] can not be a recipient, no reply.
> send from=255 1C800200FFFF0000
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
MMSG requestor [255] can not be a recipient, no reply.

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

== A command that is cut asks for as much as came of its allocation length
> link 1; hide log fields; set elementTypeMaxNumber 5
> lengths set audibleAlarmMaxNumber 1 | send 1C80010044000000
64 bytes
69 bytes
reply   to environment manager: GOOD, configuration page, 132 bytes, handle 0

== A page that fits no message is not answered
> link 1; set deviceMaxNumber 255; set powerSupplyMaxNumber 255; set coolingMaxNumber 255; set temperatureSensorMaxNumber 226; set audibleAlarmMaxNumber 1; hide fields log; page
reply   to environment manager: GOOD, enclosure status page, 4060 bytes, handle 0
> show log; set temperatureSensorMaxNumber 227; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Enclosure status page of [4000] bytes does not fit a message.

== One bit of the alarm's overall word comes back
# Flags are in the byte that is left out: they are read where the page was built.
> use vsc055; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; set coolingMaxNumber 0; set temperatureSensorMaxNumber 0; hide log bus fields messages; show page
> set alarmState 1; send command=29 1D10000000FF0000 0200000000000000 00000000 00000000 00000000 00000000 FFFFFF7F FFFFFFFF; page
drives  00000000
supply  00000000
fans    00000000
sensors 00000000
alarms  00000020 200000(F9)
> send command=29 1D10000000FF0000 0200000000000000 00000000 00000000 00000000 00000000 FFFFFF5F DFFFFF00; page
alarms  00000000 000000(00)

== The Xyratex chassis judges fans by 500 RPM
# 1200000 / (240 x 10) and / (239 x 10)
> use xyratex; set i2cConnected 1; set fanSpeedDivisor 10; set coolingMaxNumber 2; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; set temperatureSensorMaxNumber 0; hide log bus fields
> show page; reg 63 32 F0; reg 63 36 EF; page
event   fan fault status: warning, fans 2, failed 0x01 (fan 0)
reply   to environment manager: GOOD, enclosure status page, 104 bytes, handle 0
drives  00000000
supply  00000000
fans    00000000 000032E2 000032E0
sensors 00000000
alarms  00000000 000000(02)
