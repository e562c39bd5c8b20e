# W83792AD monitor at 0x2C with six fans of 9000 RPM and three sensors, PCA9539 expander at 0x74 with
# the drive fault LEDs of 16 slots, two supplies.
# Up at 32 38 44 degrees, down at 41 35 29, overheated above 60, fans fail below 1500 RPM.

== In good health
# All LEDs are lit until the first request: the expander wakes with its outputs high.
> start
event   personality: information, enclosure W83792AD, fans 6, sensors 3, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   50 50 50 50 50 50
leds    0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15
alarm   3
faults  0x00000000
devices 0x00000000
# Bring-up counts the voltages as good and redundancy as lost. Redundancy is found good; of +5Vcc
# only the low bits count, so the voltages are reported bad from here on, whatever they are.
> poll
event   power supply status: information, supplies 2, status 0x03 (voltage good, redundancy good)
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x02 (voltage bad, redundancy good)
alarm   1
faults  0x80000001
> poll 9
> page
reply   to environment manager: GOOD, enclosure status page, 204 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
supply  00000000 05000043 05000043
fans    00000000 0040C2E0 0040C2E0 0040C2E0 0040C2E0 0040C2E0 0040C2E0
sensors 00000000 00003200 00003200 00003200
alarms  00000000 000000(00)
> rail 5 5.2
> poll

# A fan is pulled. The LED is lit already: one event, one mail. Full load is 15 sixteenths.
> fan 4 pull
> poll
event   fan fault status: warning, fans 6, failed 0x10 (fan 4)
mail    e-mail notification
loads   94 94 94 94 94 94
faults  0x80000005
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 204 bytes, handle 0
fans    00000000 00C04BE0 00C04BE0 00C04BE0 00C04BE0 00000008 00C04BE0
> fan 4 return
> poll
event   fan fault status: warning, fans 6, failed 0x00 (none)
loads   75 75 75 75 75 75
faults  0x80000001
> poll
loads   50 50 50 50 50 50
> poll

# One sensor is not read, by a poll and by a page: the other two carry the average for one poll.
> temp 0 26
> temp 1 35
> temp 2 26
> poll
> fail 23 w83792ad
> poll
mail    e-mail notification
event   device W83792AD: warning, enclosure {enclosure}, does not answer
event   device W83792AD: warning, enclosure {enclosure}, answers
loads   25 25 25 25 25 25
> poll
> fail 38 w83792ad
> page
mail    e-mail notification
event   device W83792AD: warning, enclosure {enclosure}, does not answer
event   device W83792AD: warning, enclosure {enclosure}, answers
reply   to environment manager: GOOD, enclosure status page, 204 bytes, handle 0
fans    00000000 004009E0 004009E0 004009E0 004009E0 004009E0 004009E0
sensors 00000000 00002E00 00000000 00002E00

# Through all bands and the whole ladder, both ways.
> temp all 33
> poll
loads   50 50 50 50 50 50
> temp all 28
> poll
loads   25 25 25 25 25 25
> temp all 33
> poll
loads   50 50 50 50 50 50
> temp all 36
> poll
event   temperature: information, sensor 0 of 3 at 36 degrees, over 35
event   temperature: information, sensor 1 of 3 at 36 degrees, over 35
event   temperature: information, sensor 2 of 3 at 36 degrees, over 35
> temp all 39
> poll
loads   75 75 75 75 75 75
> temp all 45
> poll
loads   94 94 94 94 94 94
> temp all 46
> poll
event   temperature: warning, sensor 0 of 3 at 46 degrees, over 45
event   temperature: warning, sensor 1 of 3 at 46 degrees, over 45
event   temperature: warning, sensor 2 of 3 at 46 degrees, over 45
> temp all 56
> poll
event   temperature: warning, sensor 0 of 3 at 56 degrees, over 55
event   temperature: warning, sensor 1 of 3 at 56 degrees, over 55
event   temperature: warning, sensor 2 of 3 at 56 degrees, over 55
> temp all 61
> poll
mail    e-mail notification
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
faults  0x80000009
> poll
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
> page
reply   to environment manager: GOOD, enclosure status page, 204 bytes, handle 0
fans    00000000 00C04BE0 00C04BE0 00C04BE0 00C04BE0 00C04BE0 00C04BE0
sensors 00000000 00005130 00005130 00005130
> temp all 55
> poll
event   temperature: warning, sensor 0 of 3 at 55 degrees, over 45
event   temperature: warning, sensor 1 of 3 at 55 degrees, over 45
event   temperature: warning, sensor 2 of 3 at 55 degrees, over 45
faults  0x80000001
> temp all 40
> poll
event   temperature: information, sensor 0 of 3 at 40 degrees, over 35
event   temperature: information, sensor 1 of 3 at 40 degrees, over 35
event   temperature: information, sensor 2 of 3 at 40 degrees, over 35
loads   75 75 75 75 75 75
> temp all 34
> poll
event   temperature: information, sensor 0 of 3 at 34 degrees, below 35
event   temperature: information, sensor 1 of 3 at 34 degrees, below 35
event   temperature: information, sensor 2 of 3 at 34 degrees, below 35
loads   50 50 50 50 50 50
# Below zero counts as very hot. The first sensor knows nothing below zero.
> temp all -6
> poll
mail    e-mail notification
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
loads   75 75 75 75 75 75
faults  0x80000009
> page
reply   to environment manager: GOOD, enclosure status page, 204 bytes, handle 0
fans    00000000 0080A3E0 0080A3E0 0080A3E0 0080A3E0 0080A3E0 0080A3E0
sensors 00000000 00001480 00000EC0 00000EC0
> temp all 30
> poll
loads   50 50 50 50 50 50
faults  0x80000001

# Redundancy lost and back, seen by a poll and by a page.
> psu lost
> poll
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x00 (voltage bad, redundancy lost)
faults  0x80000003
> poll
> psu good
> poll
event   power supply status: information, supplies 2, status 0x02 (voltage bad, redundancy good)
faults  0x80000001
> psu lost
> page
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x00 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 204 bytes, handle 0
fans    00000000 0040C2E0 0040C2E0 0040C2E0 0040C2E0 0040C2E0 0040C2E0
sensors 00000000 00003200 00003200 00003200
faults  0x80000003
> psu good
> page
event   power supply status: warning, supplies 2, status 0x02 (voltage bad, redundancy good)
reply   to environment manager: GOOD, enclosure status page, 204 bytes, handle 0
faults  0x80000001

# A peer's fault is one of redundancy and lasts until that is looked at.
> put supply 1 80000000
event   power supply status: warning, supplies 2, status 0x06 (voltage bad, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
> put supply 1 80000002
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x02 (voltage bad, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0
faults  0x80000003
> poll
faults  0x80000001
> put supply 1 80000000
event   power supply status: warning, supplies 2, status 0x06 (voltage bad, redundancy good)
reply   to environment manager: GOOD, 68 bytes, handle 0

# Drive fault LEDs.
> put leds 3 9
event   drive fault LEDs: warning, drives 16, lit 0x0208 (drives 3, 9)
reply   to environment manager: GOOD, 68 bytes, handle 0
leds    3 9
> page
reply   to environment manager: GOOD, enclosure status page, 204 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030004 01040000 01050000 01060000 01070000 01080000 01090004 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
> put leds 9 15
event   drive fault LEDs: warning, drives 16, lit 0x8200 (drives 9, 15)
reply   to environment manager: GOOD, 68 bytes, handle 0
leds    9 15
> put leds
event   drive fault LEDs: warning, drives 16, lit 0x0000 (none)
reply   to environment manager: GOOD, 68 bytes, handle 0
leds    none

# The alarm: sounded by a peer, silenced by a peer.
> put alarms 0 800000F2
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   3
> put alarms 0 80000010
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   1
> put alarms 0 80000002
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   3
> put alarms 0 80000040
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   1

# A fan switched on comes back down the ladder; one switched off fails and is brought back.
> put fans 2 80000004
reply   to environment manager: GOOD, 68 bytes, handle 0
loads   50 50 94 50 50 50
> poll
loads   50 50 75 50 50 50
> poll
loads   50 50 50 50 50 50
> put fans 1 80000000
reply   to environment manager: GOOD, 68 bytes, handle 0
loads   50 0 50 50 50 50
> poll
event   fan fault status: warning, fans 6, failed 0x02 (fan 1)
mail    e-mail notification
loads   94 94 94 94 94 94
faults  0x80000005
> poll
event   fan fault status: warning, fans 6, failed 0x00 (none)
loads   75 75 75 75 75 75
faults  0x80000001
> poll
loads   50 50 50 50 50 50

# The expander is lost in service: noticed by the next LED, and so is its return. The LED asked for
# in between stays dark.
> cut pca9539
> poll
> put leds 3
mail    e-mail notification
event   device PCA9539: warning, enclosure {enclosure}, does not answer
event   drive fault LEDs: warning, drives 16, lit 0x0008 (drive 3)
reply   to environment manager: GOOD, 68 bytes, handle 0
faults  0x80000011
devices 0x00000200
> mend pca9539
> poll
> put leds 3 9
event   device PCA9539: warning, enclosure {enclosure}, answers
event   drive fault LEDs: warning, drives 16, lit 0x0208 (drives 3, 9)
reply   to environment manager: GOOD, 68 bytes, handle 0
leds    9
faults  0x80000001
devices 0x00000000
> put leds
event   drive fault LEDs: warning, drives 16, lit 0x0000 (none)
reply   to environment manager: GOOD, 68 bytes, handle 0
leds    none

# The monitor is lost in service: everything it watches counts as failed.
> cut w83792ad
> poll
mail    e-mail notification
event   device W83792AD: warning, enclosure {enclosure}, does not answer
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x04 (voltage bad, redundancy lost)
event   fan fault status: warning, fans 6, failed 0x3f (fans 0, 1, 2, 3, 4, 5)
mail    e-mail notification
faults  0x80000017
devices 0x00000100
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 204 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
fans    00000000 000000E0 000000E0 000000E0 000000E0 000000E0 000000E0
sensors 00000000 00000000 00000000 00000000
> mend all
> poll
event   device W83792AD: warning, enclosure {enclosure}, answers
event   power supply status: information, supplies 2, status 0x06 (voltage bad, redundancy good)
event   fan fault status: warning, fans 6, failed 0x00 (none)
loads   75 75 75 75 75 75
faults  0x80000001
devices 0x00000000
> poll
loads   50 50 50 50 50 50
> poll 10

== The floor holds the ladder
> tune fanPwmLoadMinimum 50
> start
event   personality: information, enclosure W83792AD, fans 6, sensors 3, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 50 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   50 50 50 50 50 50
leds    0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15
alarm   3
faults  0x00000000
devices 0x00000000
> temp all 20
> poll
event   power supply status: information, supplies 2, status 0x03 (voltage good, redundancy good)
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x02 (voltage bad, redundancy good)
alarm   1
faults  0x80000001
> poll 2

== The monitor is lost before the start
> cut w83792ad
> start
event   personality: information, enclosure W83792AD, fans 6, sensors 3, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
event   device W83792AD: warning, enclosure {enclosure}, does not answer
led     composite fault LED on
mail    e-mail notification
loads   94 94 94 94 94 94
alarm   0
faults  0x80000010
devices 0x00000000
# No poll without a connected bus.
> mend all
> poll 2
> page
mail    e-mail notification
mail    e-mail notification
reply   to environment manager: GOOD, enclosure status page, 204 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
supply  00000000 05000043 05000043
fans    00000000 000000E0 000000E0 000000E0 000000E0 000000E0 000000E0
sensors 00000000 00000000 00000000 00000000
alarms  00000000 000000(02)
faults  0x80000013

== The expander is lost before the start
# Bring-up ends with it: the monitor works, the LEDs stay inputs.
> cut pca9539
> start
event   personality: information, enclosure W83792AD, fans 6, sensors 3, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
led     composite fault LED on
mail    e-mail notification
event   device PCA9539: warning, enclosure {enclosure}, does not answer
loads   50 50 50 50 50 50
alarm   1
faults  0x80000010
devices 0x00000200
> poll
event   power supply status: information, supplies 2, status 0x03 (voltage good, redundancy good)
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x02 (voltage bad, redundancy good)
faults  0x80000011
> mend all
> put leds 3
event   device PCA9539: warning, enclosure {enclosure}, answers
event   drive fault LEDs: warning, drives 16, lit 0x0008 (drive 3)
reply   to environment manager: GOOD, 68 bytes, handle 0
faults  0x80000001
devices 0x00000000
