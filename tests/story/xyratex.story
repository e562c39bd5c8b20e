# VSC055 controller at 0x63 with status LEDs, presence inputs and an alarm controller, LM75 sensors
# at 0x4C and 0x4D, eight fans of 20000 RPM in two groups, 12 slots, two supplies.
# Up at 32 38 44 degrees, down at 41 35 29, overheated above 60, fans fail below 1500 RPM.

== In good health
> start
event   personality: information, enclosure Xyratex 2U12ATX, fans 8, sensors 2, divisor 1, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   25 25 25 25 25 25 25 25
status  psu-ok
alarm   0, S0 idle
faults  0x00000000
devices 0x00000000
# 5000 RPM
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000
supply  00000000 01000001 01000001
fans    00000000 0040F4E0 0040F4E0 0040F4E0 0040F4E0 0040F4E0 0040F4E0 0040F4E0 0040F4E0
sensors 00000000 00003200 00003200
alarms  00000000 000000(02)
> poll 10

# Drives come and go.
> drive 3 out
> drive 9 out
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
drives  00000000 01000000 01010000 01020000 05030000 01040000 01050000 01060000 01070000 01080000 05090000 010A0000 010B0000
> drive 3 in
> drive 9 in
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000

# A fan is pulled: both groups go up; 20000 RPM do not fit the page. The way back ends at 50.
> fan 5 pull
> poll
event   fan fault status: warning, fans 8, failed 0x20 (fan 5)
led     composite fault LED on
mail    e-mail notification
loads   100 100 100 100 100 100 100 100
status  psu-ok fan-fail
faults  0x80000004
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
fans    00000000 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0 000000E0 00C0D0E0 00C0D0E0
> fan 5 return
> poll
event   fan fault status: warning, fans 8, failed 0x00 (none)
led     composite fault LED off
loads   75 75 75 75 75 75 75 75
status  psu-ok
faults  0x00000000
> poll
loads   50 50 50 50 50 50 50 50
> poll
# A page sees the fan back first: its mark and LED go, the composite fault with the next poll.
> fan 0 pull
> poll
event   fan fault status: warning, fans 8, failed 0x01 (fan 0)
led     composite fault LED on
mail    e-mail notification
loads   100 100 100 100 100 100 100 100
status  psu-ok fan-fail
faults  0x80000004
> fan 0 return
> page
event   fan fault status: warning, fans 8, failed 0x00 (none)
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
fans    00000000 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0
status  psu-ok
> poll
led     composite fault LED off
loads   75 75 75 75 75 75 75 75
faults  0x00000000
> poll
loads   50 50 50 50 50 50 50 50

# A sensor is lost: the other one carries the average.
> temp 0 32
> cut lm75-1
> poll
led     composite fault LED on
mail    e-mail notification
event   device LM75 of sensor 1: warning, enclosure {enclosure}, does not answer
faults  0x80000010
devices 0x00000004
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
fans    00000000 00C0E8E0 00C0E8E0 00C0E8E0 00C0E8E0 00C0E8E0 00C0E8E0 00C0E8E0 00C0E8E0
sensors 00000000 00003400 00000000
> mend lm75-1
> poll
led     composite fault LED off
event   device LM75 of sensor 1: warning, enclosure {enclosure}, answers
faults  0x00000000
devices 0x00000000

# Through all bands and the whole ladder, both ways.
> temp all 28
> poll
loads   25 25 25 25 25 25 25 25
> temp all 33
> poll
loads   50 50 50 50 50 50 50 50
> temp all 36
> poll
event   temperature: information, sensor 0 of 2 at 36 degrees, over 35
event   temperature: information, sensor 1 of 2 at 36 degrees, over 35
> temp all 39
> poll
loads   75 75 75 75 75 75 75 75
> temp all 45
> poll
loads   100 100 100 100 100 100 100 100
> temp all 46
> poll
event   temperature: warning, sensor 0 of 2 at 46 degrees, over 45
event   temperature: warning, sensor 1 of 2 at 46 degrees, over 45
> temp all 56
> poll
event   temperature: warning, sensor 0 of 2 at 56 degrees, over 55
event   temperature: warning, sensor 1 of 2 at 56 degrees, over 55
> temp 0 66
> poll
led     composite fault LED on
mail    e-mail notification
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
faults  0x80000008
> poll
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
fans    00000000 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0 00C0D0E0
sensors 00000000 00005630 00004C20
> temp all 55
> poll
event   temperature: warning, sensor 0 of 2 at 55 degrees, over 45
event   temperature: warning, sensor 1 of 2 at 55 degrees, over 45
led     composite fault LED off
faults  0x00000000
> temp all 40
> poll
event   temperature: information, sensor 0 of 2 at 40 degrees, over 35
event   temperature: information, sensor 1 of 2 at 40 degrees, over 35
loads   75 75 75 75 75 75 75 75
> temp all 34
> poll
event   temperature: information, sensor 0 of 2 at 34 degrees, below 35
event   temperature: information, sensor 1 of 2 at 34 degrees, below 35
loads   50 50 50 50 50 50 50 50
> temp all 28
> poll
loads   25 25 25 25 25 25 25 25
> temp all 33
> poll
loads   50 50 50 50 50 50 50 50
> temp all 30

# Redundancy lost, seen by a poll. The alarm sounds by itself, a peer mutes it, it reminds; the
# service ends the reminder once the poll finds the supplies good for the second time.
> psu lost
alarm   0, S1 fault
> poll
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x01 (voltage good, redundancy lost)
event   alarm status: warning, alarms 1, state fault
status  psu-ok redundancy-fail
alarm   1, S1 fault
faults  0x80000002
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
supply  00000000 05000003 05000003
fans    00000000 00C0E8E0 00C0E8E0 00C0E8E0 00C0E8E0 00C0E8E0 00C0E8E0 00C0E8E0 00C0E8E0
sensors 00000000 00003200 00003200
alarms  00000000 000000(00)
> put alarms 0 80000002
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   3, S3 mute
> poll
> wait 60
alarm   3, S2 remind
> poll
event   alarm status: information, alarms 1, state remind
alarm   2, S2 remind
> psu good
> poll
led     composite fault LED off
event   power supply status: information, supplies 2, status 0x03 (voltage good, redundancy good)
status  psu-ok
faults  0x00000000
> poll
event   alarm status: information, alarms 1, state idle
alarm   0, S0 idle
# Seen by pages: LED and event, no composite fault.
> psu lost
alarm   0, S1 fault
> page
event   power supply status: warning, supplies 2, status 0x01 (voltage good, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
alarms  00000000 000000(01)
status  psu-ok redundancy-fail
> psu good
alarm   0, S0 idle
> page
event   power supply status: warning, supplies 2, status 0x03 (voltage good, redundancy good)
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
supply  00000000 01000001 01000001
alarms  00000000 000000(03)
status  psu-ok

# A voltage leaves its tolerance.
> rail 5 4.4
alarm   0, S1 fault
> poll
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x02 (voltage bad, redundancy good)
event   alarm status: warning, alarms 1, state fault
status  none
alarm   1, S1 fault
faults  0x80000001
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
supply  00000000 01000043 01000043
alarms  00000000 000000(01)
> rail 5 5
alarm   1, S0 idle
> poll
led     composite fault LED off
event   power supply status: information, supplies 2, status 0x03 (voltage good, redundancy good)
event   alarm status: information, alarms 1, state idle
status  psu-ok
alarm   0, S0 idle
faults  0x00000000

# A peer's fault is the PSU LED's; the fault of the first request counts as indicated already.
> put supply 0 80000000
event   power supply status: warning, supplies 2, status 0x07 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
> put supply 0 80000002
event   power supply status: warning, supplies 2, status 0x03 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
status  none
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
supply  00000000 01000003 01000001
alarms  00000000 000000(02)
> put supply 0 80000000
event   power supply status: warning, supplies 2, status 0x07 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
status  psu-ok

# Drive fault LEDs.
> put leds 3 9
event   drive fault LEDs: warning, drives 12, lit 0x0208 (drives 3, 9)
reply   to environment manager: GOOD, 68 bytes, handle 0
leds    3 9
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030004 01040000 01050000 01060000 01070000 01080000 01090004 010A0000 010B0000
supply  00000000 01000001 01000001
> put leds 9 11
event   drive fault LEDs: warning, drives 12, lit 0x0a00 (drives 9, 11)
reply   to environment manager: GOOD, 68 bytes, handle 0
leds    9 11
> put leds
event   drive fault LEDs: warning, drives 12, lit 0x0000 (none)
reply   to environment manager: GOOD, 68 bytes, handle 0
leds    none

# The alarm in a peer's hands.
> put alarms 0 80000010
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   1, S1 fault
> poll
> put alarms 0 80000040
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   4, S4 critical
> poll
> put alarms 0 800000F2
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   3, S3 mute
> wait 60
alarm   3, S0 idle
> poll
event   alarm status: information, alarms 1, state idle
alarm   0, S0 idle

# Any fan of a group switches the group. The ladder books its groups as fans 0 and 1: it does not
# see the back fans switched on, and takes the front ones for both.
> put fans 5 80000004
reply   to environment manager: GOOD, 68 bytes, handle 0
loads   50 50 50 50 100 100 100 100
> poll
> put fans 3 80000004
reply   to environment manager: GOOD, 68 bytes, handle 0
loads   100 100 100 100 100 100 100 100
> poll
loads   75 75 75 75 75 75 75 75
> poll
loads   50 50 50 50 50 50 50 50
> put fans 6 80000000
reply   to environment manager: GOOD, 68 bytes, handle 0
loads   50 50 50 50 0 0 0 0
> poll
event   fan fault status: warning, fans 8, failed 0xf0 (fans 4, 5, 6, 7)
led     composite fault LED on
mail    e-mail notification
loads   100 100 100 100 100 100 100 100
status  psu-ok fan-fail
faults  0x80000004
> poll
event   fan fault status: warning, fans 8, failed 0x00 (none)
led     composite fault LED off
loads   75 75 75 75 75 75 75 75
status  psu-ok
faults  0x00000000
> poll
loads   50 50 50 50 50 50 50 50

# The controller is lost in service: the alarm reads as 7.
> cut vsc055
> poll
led     composite fault LED on
mail    e-mail notification
event   device VSC055: warning, enclosure {enclosure}, does not answer
event   alarm status: information, alarms 1, state 7
alarm   7, S0 idle
faults  0x80000010
devices 0x00000001
> page
event   power supply status: warning, supplies 2, status 0x04 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
drives  00000000 05000000 05010000 05020000 05030000 05040000 05050000 05060000 05070000 05080000 05090000 050A0000 050B0000
supply  00000000 05000043 05000043
fans    00000000 000000E0 000000E0 000000E0 000000E0 000000E0 000000E0 000000E0 000000E0
alarms  00000000 000000(00)
> mend vsc055
> poll
led     composite fault LED off
event   device VSC055: warning, enclosure {enclosure}, answers
event   power supply status: information, supplies 2, status 0x05 (voltage good, redundancy lost)
event   power supply status: information, supplies 2, status 0x07 (voltage good, redundancy good)
event   alarm status: information, alarms 1, state idle
alarm   0, S0 idle
faults  0x00000000
devices 0x00000000

# The whole bus is lost in service.
> cut all
> poll
led     composite fault LED on
mail    e-mail notification
event   device VSC055: warning, enclosure {enclosure}, does not answer
event   device LM75 of sensor 0: warning, enclosure {enclosure}, does not answer
event   device LM75 of sensor 1: warning, enclosure {enclosure}, does not answer
event   alarm status: information, alarms 1, state 7
alarm   7, S0 idle
faults  0x80000010
devices 0x00000007
> poll
> mend all
> poll
event   device VSC055: warning, enclosure {enclosure}, answers
event   device LM75 of sensor 0: warning, enclosure {enclosure}, answers
led     composite fault LED off
event   device LM75 of sensor 1: warning, enclosure {enclosure}, answers
event   alarm status: information, alarms 1, state idle
alarm   0, S0 idle
faults  0x00000000
devices 0x00000000
> poll 10

== The floor holds the ladder
> tune fanPwmLoadMinimum 50
> start
event   personality: information, enclosure Xyratex 2U12ATX, fans 8, sensors 2, divisor 1, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 50 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   25 25 25 25 25 25 25 25
status  psu-ok
alarm   0, S0 idle
faults  0x00000000
devices 0x00000000
# Nothing lifts a load to the floor; it only stops the way down.
> poll
> temp all 33
> poll
loads   50 50 50 50 50 50 50 50
> temp all 20
> poll 2

== The controller is lost before the start
> cut vsc055
> start
event   personality: information, enclosure Xyratex 2U12ATX, fans 8, sensors 2, divisor 1, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
led     composite fault LED on
mail    e-mail notification
event   device VSC055: warning, enclosure {enclosure}, does not answer
loads   100 100 100 100 100 100 100 100
alarm   0, S0 idle
faults  0x80000010
devices 0x00000001
# No poll without a connected bus.
> mend all
> poll 2
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
drives  00000000 05000000 05010000 05020000 05030000 05040000 05050000 05060000 05070000 05080000 05090000 050A0000 050B0000
supply  00000000 05000043 05000043
fans    00000000 000000E0 000000E0 000000E0 000000E0 000000E0 000000E0 000000E0 000000E0
sensors 00000000 00000000 00000000
alarms  00000000 000000(00)

== A sensor is lost before the start
# Bring-up does not look for the sensors.
> cut lm75-0
> start
event   personality: information, enclosure Xyratex 2U12ATX, fans 8, sensors 2, divisor 1, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   25 25 25 25 25 25 25 25
status  psu-ok
alarm   0, S0 idle
faults  0x00000000
devices 0x00000000
> poll
led     composite fault LED on
mail    e-mail notification
event   device LM75 of sensor 0: warning, enclosure {enclosure}, does not answer
faults  0x80000010
devices 0x00000002
> mend all
> poll
led     composite fault LED off
event   device LM75 of sensor 0: warning, enclosure {enclosure}, answers
faults  0x00000000
devices 0x00000000
