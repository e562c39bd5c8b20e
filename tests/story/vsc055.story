# VSC055 controller at 0x41, four LM75 sensors, four fans of 9000 RPM, 16 slots, two supplies.
# Up at 32 38 44 degrees, down at 41 35 29, overheated above 60, fans fail below 1500 RPM.

== In good health
> start
event   personality: information, enclosure VSC055, fans 4, sensors 4, divisor 4, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   50 50 50 50
alarm   3
faults  0x00000000
devices 0x00000000
# 4500 RPM: count 67 of divisor 4 reads as 4477.
> page
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
supply  00000000 01000001 01000001
fans    00000000 0040BFE0 0040BFE0 0040BFE0 0040BFE0
sensors 00000000 00003200 00003200 00003200 00003200
alarms  00000000 000000(00)
> poll 10

# A fan is pulled: one event, one LED request, one mail, all fans up; and the way back down.
> fan 1 pull
> poll
event   fan fault status: warning, fans 4, failed 0x02 (fan 1)
led     composite fault LED on
mail    e-mail notification
loads   100 100 100 100
alarm   1
faults  0x80000004
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
fans    00000000 00C08DE0 000000E0 00C08DE0 00C08DE0
> fan 1 return
> poll
event   fan fault status: warning, fans 4, failed 0x00 (none)
led     composite fault LED off
loads   75 75 75 75
alarm   3
faults  0x00000000
> poll
loads   50 50 50 50
> poll

# A sensor is lost: the others carry the average.
> cut lm75-2
> poll
led     composite fault LED on
mail    e-mail notification
event   device LM75 of sensor 2: warning, enclosure {enclosure}, does not answer
alarm   1
faults  0x80000010
devices 0x00000008
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
fans    00000000 0040BFE0 0040BFE0 0040BFE0 0040BFE0
sensors 00000000 00003200 00003200 00000000 00003200
> mend lm75-2
> poll
led     composite fault LED off
event   device LM75 of sensor 2: warning, enclosure {enclosure}, answers
alarm   3
faults  0x00000000
devices 0x00000000

# Through all bands and the whole ladder, both ways.
> temp all 28
> poll
loads   25 25 25 25
> temp all 32
> poll
> temp all 33
> poll
loads   50 50 50 50
> temp all 36
> poll
event   temperature: information, sensor 0 of 4 at 36 degrees, over 35
event   temperature: information, sensor 1 of 4 at 36 degrees, over 35
event   temperature: information, sensor 2 of 4 at 36 degrees, over 35
event   temperature: information, sensor 3 of 4 at 36 degrees, over 35
> temp all 38
> poll
> temp all 39
> poll
loads   75 75 75 75
> temp all 44
> poll
> temp all 45
> poll
loads   100 100 100 100
> temp all 46.5
> poll
event   temperature: warning, sensor 0 of 4 at 46 degrees, over 45
event   temperature: warning, sensor 1 of 4 at 46 degrees, over 45
event   temperature: warning, sensor 2 of 4 at 46 degrees, over 45
event   temperature: warning, sensor 3 of 4 at 46 degrees, over 45
> temp 3 60
> poll
event   temperature: warning, sensor 3 of 4 at 60 degrees, over 55
> temp all 60
> poll
event   temperature: warning, sensor 0 of 4 at 60 degrees, over 55
event   temperature: warning, sensor 1 of 4 at 60 degrees, over 55
event   temperature: warning, sensor 2 of 4 at 60 degrees, over 55
# Overheated: asked for on each poll.
> temp all 61
> poll
led     composite fault LED on
mail    e-mail notification
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
alarm   1
faults  0x80000008
> poll
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
> page
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
fans    00000000 00C08DE0 00C08DE0 00C08DE0 00C08DE0
sensors 00000000 00005130 00005130 00005130 00005130
> temp all 55
> poll
event   temperature: warning, sensor 0 of 4 at 55 degrees, over 45
event   temperature: warning, sensor 1 of 4 at 55 degrees, over 45
event   temperature: warning, sensor 2 of 4 at 55 degrees, over 45
event   temperature: warning, sensor 3 of 4 at 55 degrees, over 45
led     composite fault LED off
alarm   3
faults  0x00000000
> temp all 41
> poll
event   temperature: information, sensor 0 of 4 at 41 degrees, over 35
event   temperature: information, sensor 1 of 4 at 41 degrees, over 35
event   temperature: information, sensor 2 of 4 at 41 degrees, over 35
event   temperature: information, sensor 3 of 4 at 41 degrees, over 35
> temp all 40
> poll
loads   75 75 75 75
> temp all 35
> poll
event   temperature: information, sensor 0 of 4 at 35 degrees, below 35
event   temperature: information, sensor 1 of 4 at 35 degrees, below 35
event   temperature: information, sensor 2 of 4 at 35 degrees, below 35
event   temperature: information, sensor 3 of 4 at 35 degrees, below 35
> temp all 34
> poll
loads   50 50 50 50
> temp all 29
> poll
> temp all 28
> poll
loads   25 25 25 25
> poll
# One byte a read: below zero the sign makes up for the half degree, and counts as very hot.
> temp all -1
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
fans    00000000 0000E1E0 0000E1E0 0000E1E0 0000E1E0
sensors 00000000 00001480 00001480 00001480 00001480
> temp all -2
> poll
led     composite fault LED on
mail    e-mail notification
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
loads   50 50 50 50
alarm   1
faults  0x80000008
> page
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
fans    00000000 0040BFE0 0040BFE0 0040BFE0 0040BFE0
sensors 00000000 000013C0 000013C0 000013C0 000013C0
> temp all 30
> poll
led     composite fault LED off
alarm   3
faults  0x00000000

# Redundancy lost and back, seen by a poll and by a page.
> psu lost
> poll
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x01 (voltage good, redundancy lost)
alarm   1
faults  0x80000002
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
supply  00000000 05000003 05000003
sensors 00000000 00003200 00003200 00003200 00003200
> psu good
> poll
led     composite fault LED off
event   power supply status: information, supplies 2, status 0x03 (voltage good, redundancy good)
alarm   3
faults  0x00000000
> psu lost
> page
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x01 (voltage good, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
alarm   1
faults  0x80000002
> psu good
> page
led     composite fault LED off
event   power supply status: warning, supplies 2, status 0x03 (voltage good, redundancy good)
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
supply  00000000 01000001 01000001
alarm   3
faults  0x00000000

# A peer's faults: the LED of the first request is counted as lit from the start.
> put supply 1 80000000
event   power supply status: warning, supplies 2, status 0x07 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
> put supply 1 80000002
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x03 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   1
faults  0x80000002
> page
led     composite fault LED off
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
supply  00000000 01000001 01000003
alarm   3
faults  0x00000000
> put supply 1 80000000
event   power supply status: warning, supplies 2, status 0x07 (voltage good, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
> poll

# Drive fault LEDs.
> put leds 3 9
event   drive fault LEDs: warning, drives 16, lit 0x0208 (drives 3, 9)
reply   to environment manager: GOOD, 68 bytes, handle 0
leds    3 9
> put leds 3 9
reply   to environment manager: GOOD, 68 bytes, handle 0
> page
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030004 01040000 01050000 01060000 01070000 01080000 01090004 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
supply  00000000 01000001 01000001
> put leds 9 15
event   drive fault LEDs: warning, drives 16, lit 0x8200 (drives 9, 15)
reply   to environment manager: GOOD, 68 bytes, handle 0
leds    9 15
> put leds
event   drive fault LEDs: warning, drives 16, lit 0x0000 (none)
reply   to environment manager: GOOD, 68 bytes, handle 0
leds    none

# The alarm: sounded by a peer, silenced by a peer.
> put alarms 0 80000010
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   1
> put alarms 0 80000040
reply   to environment manager: GOOD, 68 bytes, handle 0
> put alarms 0 800000F2
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   3

# A fan switched on runs at full load and comes back down the ladder.
> put fans 2 80000004
reply   to environment manager: GOOD, 68 bytes, handle 0
loads   50 50 100 50
> poll
loads   50 50 75 50
> poll
loads   50 50 50 50

# The controller is lost in service.
> cut vsc055
> poll
led     composite fault LED on
mail    e-mail notification
event   device VSC055: warning, enclosure {enclosure}, does not answer
alarm   1
faults  0x80000010
devices 0x00000001
> page
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x05 (voltage good, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
supply  00000000 05000003 05000003
fans    00000000 000000E0 000000E0 000000E4 000000E0
faults  0x80000012
> poll
> mend vsc055
> poll
event   device VSC055: warning, enclosure {enclosure}, answers
led     composite fault LED off
event   power supply status: information, supplies 2, status 0x07 (voltage good, redundancy good)
alarm   3
faults  0x00000000
devices 0x00000000

# The whole bus is lost in service: no sensor is readable, the last average stands.
> cut all
> poll
led     composite fault LED on
mail    e-mail notification
event   device VSC055: warning, enclosure {enclosure}, does not answer
event   device LM75 of sensor 0: warning, enclosure {enclosure}, does not answer
event   device LM75 of sensor 1: warning, enclosure {enclosure}, does not answer
event   device LM75 of sensor 2: warning, enclosure {enclosure}, does not answer
event   device LM75 of sensor 3: warning, enclosure {enclosure}, does not answer
alarm   1
faults  0x80000010
devices 0x0000001f
> poll
> mend all
> poll
event   device VSC055: warning, enclosure {enclosure}, answers
event   device LM75 of sensor 0: warning, enclosure {enclosure}, answers
event   device LM75 of sensor 1: warning, enclosure {enclosure}, answers
event   device LM75 of sensor 2: warning, enclosure {enclosure}, answers
led     composite fault LED off
event   device LM75 of sensor 3: warning, enclosure {enclosure}, answers
alarm   3
faults  0x00000000
devices 0x00000000
> poll 10

== The floor holds the ladder
> tune fanPwmLoadMinimum 75
> start
event   personality: information, enclosure VSC055, fans 4, sensors 4, divisor 4, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 75 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   50 50 50 50
alarm   3
faults  0x00000000
devices 0x00000000
# Nothing lifts a load to the floor; it only stops the way down.
> temp all 20
> poll
> temp all 39
> poll
event   temperature: information, sensor 0 of 4 at 39 degrees, over 35
event   temperature: information, sensor 1 of 4 at 39 degrees, over 35
event   temperature: information, sensor 2 of 4 at 39 degrees, over 35
event   temperature: information, sensor 3 of 4 at 39 degrees, over 35
loads   75 75 75 75
> temp all 45
> poll
loads   100 100 100 100
> temp all 20
> poll
event   temperature: information, sensor 0 of 4 at 20 degrees, below 35
event   temperature: information, sensor 1 of 4 at 20 degrees, below 35
event   temperature: information, sensor 2 of 4 at 20 degrees, below 35
event   temperature: information, sensor 3 of 4 at 20 degrees, below 35
loads   75 75 75 75
> poll

== A fan switched off takes the power of all with it
# The power bits are never loaded from the controller, and no load gives power back.
> start
event   personality: information, enclosure VSC055, fans 4, sensors 4, divisor 4, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   50 50 50 50
alarm   3
faults  0x00000000
devices 0x00000000
> put fans 1 80000000
reply   to environment manager: GOOD, 68 bytes, handle 0
loads   0 0 0 0
> poll
event   fan fault status: warning, fans 4, failed 0x0f (fans 0, 1, 2, 3)
led     composite fault LED on
mail    e-mail notification
alarm   1
faults  0x80000004
> put fans 1 80000004
reply   to environment manager: GOOD, 68 bytes, handle 0

== The controller is lost before the start
> cut vsc055
> start
event   personality: information, enclosure VSC055, fans 4, sensors 4, divisor 4, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
led     composite fault LED on
mail    e-mail notification
event   enclosure bus: warning, enclosure {enclosure}, does not answer
loads   100 100 100 100
alarm   0
faults  0x80000010
devices 0x00000001
# No poll without a connected bus.
> mend all
> poll 2
> page
mail    e-mail notification
reply   to environment manager: GOOD, enclosure status page, 200 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
supply  00000000 05000003 05000003
fans    00000000 000000E0 000000E0 000000E0 000000E0
sensors 00000000 00000000 00000000 00000000 00000000
alarms  00000000 000000(02)
faults  0x80000012

== A sensor is lost before the start
> cut lm75-1
> start
event   personality: information, enclosure VSC055, fans 4, sensors 4, divisor 4, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
led     composite fault LED on
mail    e-mail notification
event   enclosure bus: warning, enclosure {enclosure}, does not answer
loads   100 100 100 100
alarm   1
faults  0x80000010
devices 0x00000004
> poll 2
