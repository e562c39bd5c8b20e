# Four backplanes with a W83782D monitor each, at 0x28, 0x2A, 0x2C, 0x30 for all but fans and at 0x28
# to 0x2B for fans; six fans of 12000 RPM, a sensor a backplane, 16 slots without LEDs, three
# supplies. The chassis is chosen behind the personality file's back.
# Up at 32 38 44 degrees, down at 41 35 29, overheated above 60, fans fail below 500 RPM.
# All monitors share one fault bit; its events name no device.

== In good health
> start
event   personality: information, enclosure none, fans 6, sensors 4, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   50 50 50 50 50 50
alarm   3, muted
faults  0x00000000
devices 0x00000000
> poll 10
> page
reply   to environment manager: GOOD, enclosure status page, 212 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
supply  00000000 01000001 01000001 01000001
fans    00000000 00805AE0 00805AE0 00805AE0 00805AE0 00805AE0 00805AE0
sensors 00000000 00003200 00003200 00003200 00003200
alarms  00000000 000000(00)

# A fan is pulled: one event, one LED request, one mail, all alarms, all fans up; and the way back.
> fan 3 pull
> poll
event   fan fault status: warning, fans 6, failed 0x08 (fan 3)
led     composite fault LED on
mail    e-mail notification
loads   100 100 100 100 100 100
alarm   1, sounding on monitor 0 1 2 3
faults  0x80000004
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 212 bytes, handle 0
fans    00000000 0000B5E0 0000B5E0 0000B5E0 00000008 0000B5E0 0000B5E0
> fan 3 return
> poll
event   fan fault status: warning, fans 6, failed 0x00 (none)
led     composite fault LED off
loads   75 75 75 75 75 75
alarm   3, muted
faults  0x00000000
> poll
loads   50 50 50 50 50 50
> poll

# One sensor is not read once. Another monitor takes the write that sounds the alarm, and the device
# counts as good again before its loss is told; the alarm stays on.
> temp 0 26
> temp 1 26
> temp 2 35
> temp 3 29
> poll
> fail 8 w83782d-2
> poll
led     composite fault LED on
led     composite fault LED off
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
loads   25 25 25 25 25 25
alarm   1, sounding on monitor 0 1 2 3
> poll
> put alarms 0 80000002
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   3, muted

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
event   temperature: information, sensor 0 of 4 at 36 degrees, over 35
event   temperature: information, sensor 1 of 4 at 36 degrees, over 35
event   temperature: information, sensor 2 of 4 at 36 degrees, over 35
event   temperature: information, sensor 3 of 4 at 36 degrees, over 35
> temp all 39
> poll
loads   75 75 75 75 75 75
> page
reply   to environment manager: GOOD, enclosure status page, 212 bytes, handle 0
fans    00000000 00C084E0 00C084E0 00C084E0 00C084E0 00C084E0 00C084E0
sensors 00000000 00003B00 00003B00 00003B00 00003B00
alarms  00000000 000000(01)
> temp all 45
> poll
loads   100 100 100 100 100 100
> temp all 46
> poll
event   temperature: warning, sensor 0 of 4 at 46 degrees, over 45
event   temperature: warning, sensor 1 of 4 at 46 degrees, over 45
event   temperature: warning, sensor 2 of 4 at 46 degrees, over 45
event   temperature: warning, sensor 3 of 4 at 46 degrees, over 45
> temp all 56
> poll
event   temperature: warning, sensor 0 of 4 at 56 degrees, over 55
event   temperature: warning, sensor 1 of 4 at 56 degrees, over 55
event   temperature: warning, sensor 2 of 4 at 56 degrees, over 55
event   temperature: warning, sensor 3 of 4 at 56 degrees, over 55
> temp all 61
> poll
led     composite fault LED on
mail    e-mail notification
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
alarm   1, sounding on monitor 0 1 2 3
faults  0x80000008
> poll
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
> temp all 55
> poll
event   temperature: warning, sensor 0 of 4 at 55 degrees, over 45
event   temperature: warning, sensor 1 of 4 at 55 degrees, over 45
event   temperature: warning, sensor 2 of 4 at 55 degrees, over 45
event   temperature: warning, sensor 3 of 4 at 55 degrees, over 45
led     composite fault LED off
alarm   3, muted
faults  0x00000000
> temp all 40
> poll
event   temperature: information, sensor 0 of 4 at 40 degrees, over 35
event   temperature: information, sensor 1 of 4 at 40 degrees, over 35
event   temperature: information, sensor 2 of 4 at 40 degrees, over 35
event   temperature: information, sensor 3 of 4 at 40 degrees, over 35
loads   75 75 75 75 75 75
> temp all 34
> poll
event   temperature: information, sensor 0 of 4 at 34 degrees, below 35
event   temperature: information, sensor 1 of 4 at 34 degrees, below 35
event   temperature: information, sensor 2 of 4 at 34 degrees, below 35
event   temperature: information, sensor 3 of 4 at 34 degrees, below 35
loads   50 50 50 50 50 50
# Below zero counts as very hot.
> temp all -1
> poll
led     composite fault LED on
mail    e-mail notification
event   overheated, shutdown requested: error, enclosure {enclosure}
stop    orderly shutdown
loads   75 75 75 75 75 75
alarm   1, sounding on monitor 0 1 2 3
faults  0x80000008
> temp all 30
> poll
led     composite fault LED off
loads   50 50 50 50 50 50
alarm   3, muted
faults  0x00000000

# The voltage of one backplane leaves its tolerance.
> rail 5@2 4.4
> poll
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 3, status 0x00 (voltage bad, redundancy lost)
alarm   1, sounding on monitor 0 1 2 3
faults  0x80000001
> poll
> page
reply   to environment manager: GOOD, enclosure status page, 212 bytes, handle 0
supply  00000000 05000043 05000043 05000043
fans    00000000 00805AE0 00805AE0 00805AE0 00805AE0 00805AE0 00805AE0
sensors 00000000 00003200 00003200 00003200 00003200
> rail 5@2 5
> poll
led     composite fault LED off
event   power supply status: information, supplies 3, status 0x01 (voltage good, redundancy lost)
alarm   3, muted
faults  0x00000000
> rail 12@3 13.5
> page
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 3, status 0x00 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 212 bytes, handle 0
alarm   1, sounding on monitor 0 1 2 3
faults  0x80000001
> rail 12 12
> page
led     composite fault LED off
event   power supply status: warning, supplies 3, status 0x01 (voltage good, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 212 bytes, handle 0
supply  00000000 01000001 01000001 01000001
alarm   3, muted
faults  0x00000000

# A peer's fault is one of voltage and lasts until that is looked at.
> put supply 2 80000000
event   power supply status: warning, supplies 3, status 0x05 (voltage good, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
> put supply 2 80000002
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 3, status 0x01 (voltage good, redundancy lost)
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   1, sounding on monitor 0 1 2 3
faults  0x80000001
> poll
led     composite fault LED off
alarm   3, muted
faults  0x00000000

# No drive fault LEDs: the request is booked and reported.
> put leds 15
event   drive fault LEDs: warning, drives 16, lit 0x8000 (drive 15)
reply   to environment manager: GOOD, 68 bytes, handle 0
> page
reply   to environment manager: GOOD, enclosure status page, 212 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0004
alarms  00000000 000000(00)
> put leds
event   drive fault LEDs: warning, drives 16, lit 0x0000 (none)
reply   to environment manager: GOOD, 68 bytes, handle 0

# The alarm: sounded by a peer, silenced by a peer.
> put alarms 0 80000010
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   1, sounding on monitor 0 1 2 3
> put alarms 0 800000F2
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   3, muted
> put alarms 0 80000040
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   1, sounding on monitor 0 1 2 3
> put alarms 0 80000002
reply   to environment manager: GOOD, 68 bytes, handle 0
alarm   3, muted

# A fan switched on comes back down the ladder; one switched off fails and is brought back.
> put fans 5 80000004
reply   to environment manager: GOOD, 68 bytes, handle 0
loads   50 50 50 50 50 100
> poll
loads   50 50 50 50 50 75
> poll
loads   50 50 50 50 50 50
> put fans 2 80000000
reply   to environment manager: GOOD, 68 bytes, handle 0
loads   50 50 0 50 50 50
> poll
event   fan fault status: warning, fans 6, failed 0x04 (fan 2)
led     composite fault LED on
mail    e-mail notification
loads   100 100 100 100 100 100
alarm   1, sounding on monitor 0 1 2 3
faults  0x80000004
> poll
event   fan fault status: warning, fans 6, failed 0x00 (none)
led     composite fault LED off
loads   75 75 75 75 75 75
alarm   3, muted
faults  0x00000000
> poll
loads   50 50 50 50 50 50

# A backplane is lost in service. Each transfer to another one takes the bus fault back, so it flaps
# with every access; the process goes on with the other three.
> cut w83782d-2
> poll
led     composite fault LED on
led     composite fault LED off
event   information 0: warning, enclosure {enclosure}, argument 0x0
led     composite fault LED on
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
led     composite fault LED off
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 3, status 0x00 (voltage bad, redundancy lost)
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
event   fan fault status: warning, fans 6, failed 0x08 (fan 3)
mail    e-mail notification
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
loads   100 100 100 50 100 100
alarm   1, sounding on monitor 0 1 3
faults  0x80000005
> poll
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
> page
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
reply   to environment manager: GOOD, enclosure status page, 212 bytes, handle 0
drives  00000000 01000000 01010000 01020000 01030000 01040000 01050000 01060000 01070000 01080000 01090000 010A0000 010B0000 010C0000 010D0000 010E0000 010F0000
supply  00000000 05000043 05000043 05000043
fans    00000000 0000B5E0 0000B5E0 0000B5E0 000000E0 0000B5E0 0000B5E0
sensors 00000000 00003200 00003200 00000000 00003200
> mend all
> poll
event   power supply status: information, supplies 3, status 0x01 (voltage good, redundancy lost)
event   fan fault status: warning, fans 6, failed 0x00 (none)
led     composite fault LED off
loads   75 75 75 75 75 75
alarm   3, muted
faults  0x00000000
> poll
loads   50 50 50 50 50 50

# The whole bus is lost in service.
> cut all
> poll
led     composite fault LED on
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
mail    e-mail notification
event   power supply status: warning, supplies 3, status 0x00 (voltage bad, redundancy lost)
event   fan fault status: warning, fans 6, failed 0x3f (fans 0, 1, 2, 3, 4, 5)
mail    e-mail notification
alarm   1, muted
faults  0x80000015
devices 0x00000001
> poll
> mend all
> poll
event   information 0: warning, enclosure {enclosure}, argument 0x0
event   power supply status: information, supplies 3, status 0x01 (voltage good, redundancy lost)
event   fan fault status: warning, fans 6, failed 0x00 (none)
led     composite fault LED off
loads   75 75 75 75 75 75
alarm   3, muted
faults  0x00000000
devices 0x00000000
> poll
loads   50 50 50 50 50 50
> poll 10

== The floor holds the ladder
> tune fanPwmLoadMinimum 50
> start
event   personality: information, enclosure none, fans 6, sensors 4, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 50 %
startup initialisation complete
event   enclosure bus: information, enclosure {enclosure}, answers
loads   50 50 50 50 50 50
alarm   3, muted
faults  0x00000000
devices 0x00000000
> temp all 20
> poll 2

== The first backplane is lost before the start
> cut w83782d-0
> start
event   personality: information, enclosure none, fans 6, sensors 4, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
event   device W83782D: warning, enclosure {enclosure}, does not answer
led     composite fault LED on
mail    e-mail notification
loads   100 100 100 100 100 100
alarm   0, sounding on monitor 0 1 2 3
faults  0x80000010
devices 0x00000000
# No poll without a connected bus.
> mend all
> poll 2

== Another backplane is lost before the start
# The ones before it have answered, so polls go on with what bring-up had not come to.
> cut w83782d-2
> start
event   personality: information, enclosure none, fans 6, sensors 4, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
event   device W83782D: warning, enclosure {enclosure}, does not answer
led     composite fault LED on
mail    e-mail notification
loads   100 100 100 100 100 100
alarm   0, sounding on monitor 0 1 2 3
faults  0x80000010
devices 0x00000000
> poll
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
event   fan fault status: warning, fans 6, failed 0x08 (fan 3)
mail    e-mail notification
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
faults  0x80000005
> mend all
> poll
event   power supply status: information, supplies 3, status 0x01 (voltage good, redundancy lost)
event   fan fault status: warning, fans 6, failed 0x00 (none)
led     composite fault LED off
loads   75 75 75 75 75 75
alarm   3, muted
faults  0x00000000
