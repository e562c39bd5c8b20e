# Replies to RECEIVE DIAGNOSTIC RESULTS, in short: pages of whole enclosures, and the configuration
# page, are judged by laws.

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
