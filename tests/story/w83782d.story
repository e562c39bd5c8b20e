# One W83782D monitor at 0x2D with three fans of 12000 RPM and one sensor; 16 slots without LEDs, two
# supplies. The chassis is chosen behind the personality file's back, and brings tuning of its own:
# up at 35 38 40 degrees, down at 35 34 32, overheated above 60, fans fail below 500 RPM.

== In good health
# Fans start at full load and come down; sensors 1 and 2 are counted and not fitted.
> start
event   personality: information, enclosure none, fans 3, sensors 1, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   100 100 100
alarm   3, muted
faults  0x00000000
devices 0x00000000
> poll
loads   75 75 75
> poll
loads   50 50 50
> poll
loads   25 25 25
> poll 7
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
supply  00000000 01000001 01000001
fans    00000000 00402DE0 00402DE0 00402DE0
sensors 00000000 00003200 00000000 00000000
alarms  00000000 000000(00)

# A fan is pulled: one event, one LED request, one mail, the alarm, all fans up; and the way back.
> fan 1 pull
> poll
event   fan fault status: warning, fans 3, failed 0x02 (fan 1)
led     composite fault LED on
mail    e-mail notification
loads   100 100 100
alarm   1, sounding on monitor 0
faults  0x80000004
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
fans    00000000 0000B5E0 00000008 0000B5E0
> fan 1 return
> poll
event   fan fault status: warning, fans 3, failed 0x00 (none)
led     composite fault LED off
loads   75 75 75
alarm   3, muted
faults  0x00000000
> poll 2
loads   25 25 25

# The sensor is not read once. The monitor takes the write that sounds the alarm and counts as good
# again before its loss is told: peers hear of both in the other order, and the alarm stays on.
> fail 11 w83782d
> poll
led     composite fault LED on
led     composite fault LED off
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
alarm   1, sounding on monitor 0
> poll
> put alarms 0 80000002
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   3, muted

# Through all bands and the whole ladder, both ways.
> temp 0 35
> poll
> temp 0 36
> poll
event   temperature: information, sensor 0 of 3 at 36 degrees, over 35
loads   50 50 50
> temp 0 39
> poll
loads   75 75 75
> temp 0 41
> poll
loads   100 100 100
> temp 0 46
> poll
event   temperature: warning, sensor 0 of 3 at 46 degrees, over 45
> temp 0 56
> poll
event   temperature: warning, sensor 0 of 3 at 56 degrees, over 55
> temp 0 61
> poll
led     composite fault LED on
mail    e-mail notification
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
alarm   1, sounding on monitor 0
faults  0x80000008
> poll
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
fans    00000000 0000B5E0 0000B5E0 0000B5E0
sensors 00000000 00005130 00000000 00000000
alarms  00000000 000000(01)
> temp 0 55
> poll
event   temperature: warning, sensor 0 of 3 at 55 degrees, over 45
led     composite fault LED off
alarm   3, muted
faults  0x00000000
> temp 0 40
> poll
event   temperature: information, sensor 0 of 3 at 40 degrees, over 35
> temp 0 34
> poll
event   temperature: information, sensor 0 of 3 at 34 degrees, below 35
loads   75 75 75
> temp 0 33
> poll
loads   50 50 50
> temp 0 31
> poll
loads   25 25 25
# Below zero counts as very hot.
> temp 0 -1
> poll
led     composite fault LED on
mail    e-mail notification
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
loads   50 50 50
alarm   1, sounding on monitor 0
faults  0x80000008
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
fans    00000000 00805AE0 00805AE0 00805AE0
sensors 00000000 000013C0 00000000 00000000
> temp 0 30
> poll
led     composite fault LED off
loads   25 25 25
alarm   3, muted
faults  0x00000000

# Voltages out of tolerance and back: +5 low, +12 high; the others are only logged.
> rail 3.3 2
> poll
> rail 5 4.4
> poll
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x00 (voltage bad, redundancy lost)
alarm   1, sounding on monitor 0
faults  0x80000001
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
supply  00000000 05000043 05000043
fans    00000000 00402DE0 00402DE0 00402DE0
sensors 00000000 00003200 00000000 00000000
> rail 5 5
> poll
led     composite fault LED off
event   power supply status: information, supplies 2, status 0x01 (voltage good, redundancy lost)
alarm   3, muted
faults  0x00000000
> rail 12 13.5
> page
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x00 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
alarm   1, sounding on monitor 0
faults  0x80000001
> rail 12 12
> page
led     composite fault LED off
event   power supply status: warning, supplies 2, status 0x01 (voltage good, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
supply  00000000 01000001 01000001
alarm   3, muted
faults  0x00000000

# A peer's fault is one of voltage and lasts until that is looked at.
> put supply 0 80000000
event   power supply status: warning, supplies 2, status 0x05 (voltage good, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
> put supply 0 80000002
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x01 (voltage good, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   1, sounding on monitor 0
faults  0x80000001
> poll
led     composite fault LED off
alarm   3, muted
faults  0x00000000
> put supply 0 80000000
event   power supply status: warning, supplies 2, status 0x05 (voltage good, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0

# No drive fault LEDs: the request is booked and reported.
> put leds 3 9
event   drive fault LEDs: warning, drives 16, lit 0x0208 (drives 3, 9)
reply   to environment manager: GOOD, 68 bytes, handle 0
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030004 01040000 01050000 01060000 01070000 01080000 01090004 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
alarms  00000000 000000(00)
> put leds
event   drive fault LEDs: warning, drives 16, lit 0x0000 (none)
reply   to environment manager: GOOD, 68 bytes, handle 0

# The alarm: sounded by a peer, silenced by a peer.
> put alarms 0 80000010
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   1, sounding on monitor 0
> put alarms 0 800000F2
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   3, muted
> put alarms 0 80000040
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   1, sounding on monitor 0
> put alarms 0 80000002
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   3, muted

# A fan switched on gets 100 of 255 and counts as fully loaded; off, it fails and is brought back.
> put fans 1 80000004
reply   to environment manager: GOOD, 68 bytes, handle 0
loads   25 39 25
> poll
loads   25 75 25
> poll 2
loads   25 25 25
> put fans 2 80000000
reply   to environment manager: GOOD, 68 bytes, handle 0
loads   25 25 0
> poll
event   fan fault status: warning, fans 3, failed 0x04 (fan 2)
led     composite fault LED on
mail    e-mail notification
loads   100 100 100
alarm   1, sounding on monitor 0
faults  0x80000004
> poll
event   fan fault status: warning, fans 3, failed 0x00 (none)
led     composite fault LED off
loads   75 75 75
alarm   3, muted
faults  0x00000000
> poll 2
loads   25 25 25

# The monitor is lost in service: everything it watches counts as failed, the alarm does not hear.
> cut w83782d
> poll
led     composite fault LED on
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x04 (voltage bad, redundancy lost)
event   fan fault status: warning, fans 3, failed 0x07 (fans 0, 1, 2)
mail    e-mail notification
alarm   1, muted
faults  0x80000015
devices 0x00000001
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 192 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
supply  00000000 05000043 05000043
fans    00000000 000000E0 000000E0 000000E0
sensors 00000000 00000000 00000000 00000000
> mend all
> poll
event   information 0: warning, enclosure {enclosure}, argument 0x0
event   power supply status: information, supplies 2, status 0x05 (voltage good, redundancy lost)
event   fan fault status: warning, fans 3, failed 0x00 (none)
led     composite fault LED off
loads   75 75 75
alarm   3, muted
faults  0x00000000
devices 0x00000000
> poll 2
loads   25 25 25
> poll 10

== The floor holds the ladder
> tune fanPwmLoadMinimum 50
> start
event   personality: information, enclosure none, fans 3, sensors 1, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 50 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   100 100 100
alarm   3, muted
faults  0x00000000
devices 0x00000000
> poll
loads   75 75 75
> poll
loads   50 50 50
> poll 2

== The monitor is lost before the start
> cut w83782d
> start
event   personality: information, enclosure none, fans 3, sensors 1, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
event   device W83782D: warning, enclosure {enclosure}, does not answer
led     composite fault LED on
mail    e-mail notification
loads   100 100 100
alarm   0, sounding on monitor 0
faults  0x80000010
devices 0x00000000
# No poll without a connected bus.
> mend all
> poll 2
