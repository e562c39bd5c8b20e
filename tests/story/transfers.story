# Fault tracking of the devices on the bus.

== One byte goes to and comes from the register given; what goes well is not said twice
> use vsc055; set i2cConnected 1; call esaI2CDataWrite 0x41 0x17 0x5A 1; call esaI2CDataRead 0x41 0x17 1
W 41 17=5A
 = 0
R 41 17=5A
 = 0, 90

== Nothing happens while the enclosure is not connected
> use vsc055; call esaI2CDataWrite 0x41 0x17 0x5A 1; call esaI2CDataRead 0x41 0x17 1
 = 1
 = 1, 103

== Every device has its bit and its event
> use vsc055; set i2cConnected 1; hide log bus fields; show hex; cut 0x41; cut 0x4B; call esaI2CDataRead 0x41 0 1; call esaI2CDataRead 0x4B 0 1
led     composite fault LED on
  ........ ........ 0E010040 0C00000E 21000000 00040000 00000000 00000000
  00000000 00000000 00000000 00000002 00000002 00000000 00000000 00000000
mail    e-mail notification
  ........ ........ 0E010040 0C000010 21000000 00040000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
event   device VSC055: warning, enclosure VSC055, does not answer
  ........ ........ 0E010168 08000001 21000000 08000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000002 0301000A 05000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000003 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 FFFFFFFF 00000000 00000000 00000000 00000000 00000000
  00000000 00000000
 = 1, 103
event   device LM75 of sensor 1: warning, enclosure VSC055, does not answer
  ........ ........ 0E010168 08000001 21000000 08000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000002 0301000A 05000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000001 00000000 00000000 00000004 00000000 00000000 00000000
  00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000
  00000000 00000000 FFFFFFFF 00000000 00000000 00000000 00000000 00000000
  00000000 00000000
 = 1, 103
> hide hex; show log bus fields
> use xyratex; set i2cConnected 1; hide log bus; cut all; call esaI2CDataRead 0x63 0 1; call esaI2CDataRead 0x4C 0 1; call esaI2CDataRead 0x4D 0 1
led     composite fault LED on
mail    e-mail notification
event   device VSC055: warning, enclosure Xyratex 2U12ATX, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x1
compositeFaultStatus 0x80000010
event   device LM75 of sensor 0: warning, enclosure Xyratex 2U12ATX, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x3
event   device LM75 of sensor 1: warning, enclosure Xyratex 2U12ATX, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x7
> mend all; call esaI2CDataRead 0x63 0 1; call esaI2CDataRead 0x4C 0 1; call esaI2CDataRead 0x4D 0 1
event   device VSC055: warning, enclosure Xyratex 2U12ATX, answers
 = 0, 36
i2cDeviceFaultStatus 0x6
event   device LM75 of sensor 0: warning, enclosure Xyratex 2U12ATX, answers
 = 0, 25
i2cDeviceFaultStatus 0x4
led     composite fault LED off
event   device LM75 of sensor 1: warning, enclosure Xyratex 2U12ATX, answers
 = 0, 26
i2cDeviceFaultStatus 0x0
compositeFaultStatus 0x0
> use vsc055; set i2cConnected 1; reg 4A 00 00; reg 4D 00 00; reg 4E 00 00; reg 4F 00 00; cut all; call esaI2CDataRead 0x41 0 1; call esaI2CDataRead 0x4C 0 1; call esaI2CDataRead 0x4B 0 1; call esaI2CDataRead 0x4A 0 1; call esaI2CDataRead 0x4D 0 1; call esaI2CDataRead 0x4E 0 1; call esaI2CDataRead 0x4F 0 1
led     composite fault LED on
mail    e-mail notification
event   device VSC055: warning, enclosure VSC055, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x1
compositeFaultStatus 0x80000010
event   device LM75 of sensor 0: warning, enclosure VSC055, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x3
event   device LM75 of sensor 1: warning, enclosure VSC055, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x7
event   device LM75 of sensor 2: warning, enclosure VSC055, does not answer
 = 1, 103
i2cDeviceFaultStatus 0xF
event   device LM75 of sensor 3: warning, enclosure VSC055, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x1F
event   device LM75 of sensor 4: warning, enclosure VSC055, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x3F
event   device LM75 of sensor 5: warning, enclosure VSC055, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x7F
> set enclosureType 3; mend all; call esaI2CDataRead 0x4F 0 1; call esaI2CDataRead 0x4E 0 1; call esaI2CDataRead 0x4D 0 1; call esaI2CDataRead 0x4A 0 1; call esaI2CDataRead 0x4B 0 1; call esaI2CDataRead 0x4C 0 1; call esaI2CDataRead 0x41 0 1
event   device LM75 of sensor 5: warning, enclosure TolVex, answers
 = 0, 0
i2cDeviceFaultStatus 0x3F
event   device LM75 of sensor 4: warning, enclosure TolVex, answers
 = 0, 0
i2cDeviceFaultStatus 0x1F
event   device LM75 of sensor 3: warning, enclosure TolVex, answers
 = 0, 0
i2cDeviceFaultStatus 0xF
event   device LM75 of sensor 2: warning, enclosure TolVex, answers
 = 0, 0
i2cDeviceFaultStatus 0x7
event   device LM75 of sensor 1: warning, enclosure TolVex, answers
 = 0, 25
i2cDeviceFaultStatus 0x3
event   device LM75 of sensor 0: warning, enclosure TolVex, answers
 = 0, 25
i2cDeviceFaultStatus 0x1
led     composite fault LED off
event   device VSC055: warning, enclosure TolVex, answers
 = 0, 0
i2cDeviceFaultStatus 0x0
alarmState 3
compositeFaultStatus 0x0
> use w83792ad; set i2cConnected 1; cut all; call esaI2CDataRead 0x2C 0 1; call esaI2CDataRead 0x74 0 1
led     composite fault LED on
mail    e-mail notification
event   device W83792AD: warning, enclosure W83792AD, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x100
compositeFaultStatus 0x80000010
event   device PCA9539: warning, enclosure W83792AD, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x300
> mend all; call esaI2CDataRead 0x2C 0 1; call esaI2CDataRead 0x74 0 1
event   device W83792AD: warning, enclosure W83792AD, answers
 = 0, 0
i2cDeviceFaultStatus 0x200
led     composite fault LED off
event   device PCA9539: warning, enclosure W83792AD, answers
 = 0, 0
i2cDeviceFaultStatus 0x0
alarmState 3
compositeFaultStatus 0x0

== Addresses without a row share the first bit and are said to be undefined, where there are rows
> use vsc055; set i2cConnected 1; reg 28 05 00; call esaI2CDataWrite 0x28 5 0x11 1; cut 0x28; call esaI2CDataRead 0x28 5 1
I2C Bus Read with undefined address [0x28].
W 28 05=11
 = 0
I2C Bus Read with undefined address [0x28].
R 28 05 ENXIO
Detect I2C Bus Status [ERROR] with Address [0x28].
Now marking Fault on I2C Device with Address [0x28].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
led     composite fault LED on
mail    e-mail notification
event   information 0: warning, enclosure VSC055, argument 0xffffffff
 = 1, 103
i2cDeviceFaultStatus 0x1
compositeFaultStatus 0x80000010
> use chenbro; set i2cConnected 1; call esaI2CDataRead 0x29 5 1; cut 0x29; call esaI2CDataRead 0x29 5 1
R 29 05=00
 = 0, 0
R 29 05 ENXIO
Detect I2C Bus Status [ERROR] with Address [0x29].
Now marking Fault on I2C Device with Address [0x29].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
led     composite fault LED on
mail    e-mail notification
event   information 0: warning, enclosure Chenbro 3U16ATX, argument 0xffffffff
 = 1, 103
i2cDeviceFaultStatus 0x1
compositeFaultStatus 0x80000010
> link 1; set i2cConnected 1; call esaI2CDataRead 0x29 5 1
R 29 05 ENXIO
Detect I2C Bus Status [ERROR] with Address [0x29].
Now marking Fault on I2C Device with Address [0x29].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
led     composite fault LED on
mail    e-mail notification
event   information 0: warning, enclosure none, argument 0xffffffff
 = 1, 103
i2cDeviceFaultStatus 0x1
compositeFaultStatus 0x80000010

== Only the first failure is reported, and the bus fault lasts until the last device recovers
> use vsc055; set i2cConnected 1; cut 0x4B; call esaI2CDataRead 0x4B 0 1
R 4B 00 ENXIO
Detect I2C Bus Status [ERROR] with Address [0x4b].
Now marking Fault on I2C Device with Address [0x4b].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
led     composite fault LED on
mail    e-mail notification
event   device LM75 of sensor 1: warning, enclosure VSC055, does not answer
 = 1, 103
i2cDeviceFaultStatus 0x4
compositeFaultStatus 0x80000010
> call esaI2CDataRead 0x4B 0 1
R 4B 00 ENXIO
Detect I2C Bus Status [ERROR] with Address [0x4b].
Already marked Fault on I2C Device with Address [0x4b].
 = 1, 103
> cut 0x4C; call esaI2CDataWrite 0x4C 0 7 1
W 4C 00 ENXIO
Detect I2C Bus Status [ERROR] with Address [0x4c].
Now marking Fault on I2C Device with Address [0x4c].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] exists currently.
The Fault bit [0x10] is already set.
event   device LM75 of sensor 0: warning, enclosure VSC055, does not answer
 = 1
i2cDeviceFaultStatus 0x6
> mend 0x4B; call esaI2CDataRead 0x4B 0 1
R 4B 00=19
Now marking OK on I2C Device with Address [0x4b].
event   device LM75 of sensor 1: warning, enclosure VSC055, answers
 = 0, 25
i2cDeviceFaultStatus 0x2
> mend 0x4C; call esaI2CDataWrite 0x4C 0 7 1
W 4C 00=07
Now marking OK on I2C Device with Address [0x4c].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] exists currently.
Clear the current Fault bit [0x10].
[Clear] Composite Fault LED in Startup.
Set Backplane Alarm State to [MUTE_S3].
led     composite fault LED off
event   device LM75 of sensor 0: warning, enclosure VSC055, answers
 = 0
i2cDeviceFaultStatus 0x0
alarmState 3
compositeFaultStatus 0x0
