# The Chenbro chassis whose monitors answer at 0x28 to 0x2B only: bring-up misses the third one and
# ends; polls go on, as the ones before it have answered.

== The addresses of all but the fans are missing
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
faults  0x80000011
devices 0x00000001
> poll
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
