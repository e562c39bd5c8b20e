# The Chenbro chassis whose monitors answer at 0x28, 0x2A, 0x2C, 0x30 only: fans 2, 4 and 5 are looked
# for at 0x29 and 0x2B, and fan 3 is found at another monitor's place. The bus fault flaps.

== The addresses of the fans are missing
> start
event   personality: information, enclosure none, fans 6, sensors 4, divisor 2, overheat limit 60, loads up at 32 38 44, down at 41 35 29, fan limit 1500 RPM, least load 25 %
startup initialisation complete
led     composite fault LED on
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
led     composite fault LED off
event   information 0: warning, enclosure {enclosure}, argument 0x0
led     composite fault LED on
led     composite fault LED off
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
led     composite fault LED on
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
led     composite fault LED off
event   information 0: warning, enclosure {enclosure}, argument 0x0
event   enclosure bus: information, enclosure {enclosure}, answers
loads   50 50 50 100 100 100
alarm   3, muted
faults  0x00000000
devices 0x00000000
> poll
led     composite fault LED on
led     composite fault LED off
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
led     composite fault LED on
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   fan fault status: warning, fans 6, failed 0x34 (fans 2, 4, 5)
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
loads   100 100 100 100 100 100
alarm   1, sounding on monitor 0 1 2 3
faults  0x80000014
devices 0x00000001
> poll
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
faults  0x80000004
devices 0x00000000
> poll
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
mail    e-mail notification
event   information 0: warning, enclosure {enclosure}, argument 0xffffffff
event   information 0: warning, enclosure {enclosure}, argument 0x0
