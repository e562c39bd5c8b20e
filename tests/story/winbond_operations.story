# Single operations of the Winbond monitors W83792AD and W83782D, and of the PCA9539 expander.

== A speed is the clock by count and divisor
> up w83792ad; hide fields; reg 2C 28 FE; call esaW83792adFanSpeedRead 0
Read speed with Fan Inx = [0].
R 2C 28=FE
Fan with W83792AD, fanSpeedReading Reg [0x28], read speed value = [254].
Fan with W83792AD, fanSpeedReading Reg [0x28] has RPM [2657].
 = 0, 2657
> reg 2C B8 FF; call esaW83792adFanSpeedRead 3
Read speed with Fan Inx = [3].
R 2C B8=FF
Fan with W83792AD, fanSpeedReading Reg [0xb8], read speed value = [255].
Fan with W83792AD, fanSpeedReading Reg [0xb8] has Speed value = [0].
 = 0, 0
# 675000 cut to 16 bits.
> reg 2C B9 01; call esaW83792adFanSpeedRead 4
Read speed with Fan Inx = [4].
R 2C B9=01
Fan with W83792AD, fanSpeedReading Reg [0xb9], read speed value = [1].
Fan with W83792AD, fanSpeedReading Reg [0xb9] has RPM [19640].
 = 0, 19640
> set fanSpeedDivisor 0; call esaW83792adFanSpeedRead 5
Read speed with Fan Inx = [5].
R 2C BA=87
Fan with W83792AD, fanSpeedReading Reg [0xba], read speed value = [135].
Fan [5] has count [135] and divisor [0], taken as [0] RPM.
Fan with W83792AD, fanSpeedReading Reg [0xba] has RPM [0].
 = 0, 0
> call esaW83792adFanSpeedRead 6
Read speed with Fan Inx = [6].
Unsupported W83792AD Fan Index = [6].
 = -1, 4711
> up w83782d; reg 2D 28 FE; call esaW83782dFanSpeedRead 0x2D 0
Read speed with Fan, I2C address = [0x2d], w83782dFanInx = [0].
R 2D 28=FE
Fan with I2C address [0x2d], fanSpeedReading Reg [0x28], read speed value = [254].
Fan with I2C address [0x2d], fanSpeedReading Reg [0x28] has RPM [2657].
 = 0, 2657
# 1350000 / (253 x 2) = 2667.98
> hide log; reg 2D 28 FD; call esaW83782dFanSpeedRead 0x2D 0
R 2D 28=FD
 = 0, 2667
> show log
> reg 2D 29 00; call esaW83782dFanSpeedRead 0x2D 1
Read speed with Fan, I2C address = [0x2d], w83782dFanInx = [1].
R 2D 29=00
Fan with I2C address [0x2d], fanSpeedReading Reg [0x29], read speed value = [0].
Fan [1] has count [0] and divisor [2], taken as [0] RPM.
Fan with I2C address [0x2d], fanSpeedReading Reg [0x29] has RPM [0].
 = 0, 0
> reg 2D 2A FF; call esaW83782dFanSpeedRead 0x2D 2
Read speed with Fan, I2C address = [0x2d], w83782dFanInx = [2].
R 2D 2A=FF
Fan with I2C address [0x2d], fanSpeedReading Reg [0x2a], read speed value = [255].
Fan with I2C address [0x2d], fanSpeedReading Reg [0x2a] has Speed value = [0].
 = 0, 0
> call esaW83782dFanSpeedRead 0x2D 3
Read speed with Fan, I2C address = [0x2d], w83782dFanInx = [3].
Unsupported Winbond Fan Index = [3].
 = -1, 4711
> hide messages log bus; cut 0x2D; call esaW83782dFanSpeedRead 0x2D 0
 = 1, 4711

== The W83792AD takes the low four bits of a load
> up w83792ad; hide fields; call esaW83792adFanPwmLoad 0 0; call esaW83792adFanPwmLoad 1 8; call esaW83792adFanPwmLoad 2 0x64; call esaW83792adFanPwmLoad 3 15; call esaW83792adFanPwmLoad 4 0x1F; call esaW83792adFanPwmLoad 5 0xF0; call esaW83792adFanPwmLoad 6 8
Load PWM Winbond[0] Percent to Fan [0]
W 2C 81=80
Load PWM Winbond[8] Percent to Fan [1]
W 2C 83=88
Load PWM Winbond[100] Percent to Fan [2]
W 2C 94=84
Load PWM Winbond[15] Percent to Fan [3]
W 2C A3=8F
Load PWM Winbond[31] Percent to Fan [4]
W 2C A4=8F
Load PWM Winbond[240] Percent to Fan [5]
W 2C A5=80
Load PWM Winbond[8] Percent to Fan [6]
The Fan index [6] is not supported.

== Two routines number the outputs of a W83782D differently; the fourth sends its old value
# Byte 22 of a monitor's shadows is that of its fourth output.
> up w83782d; reg 30 5B 00; set winbond[3][22] 0x77
> call esaW83782dFanPwmLoad 0 0x11; call esaW83782dFanPwmLoad 1 0x12; call esaW83782dFanPwmLoad 2 0x13; call esaW83782dFanPwmLoad 3 0x14
Load PWM Winbond[17] Percent to Fan [0]
W 2D 5B=11
winbond[0] FF01FF01 FF01FF01 FF01FF01 FF013C7F 412D95FF 11FF00
Load PWM Winbond[18] Percent to Fan [1]
W 2D 5E=12
winbond[0] FF01FF01 FF01FF01 FF01FF01 FF013C7F 412D9512 11FF00
Load PWM Winbond[19] Percent to Fan [2]
W 2D 5F=13
winbond[0] FF01FF01 FF01FF01 FF01FF01 FF013C7F 412D9512 111300
Load PWM Winbond[20] Percent to Fan [3]
Unsupported Winbond Fan Index = [3].
> call winbondFanPwmLoad 0x30 3 0 0x21; call winbondFanPwmLoad 0x30 3 1 0x22; call winbondFanPwmLoad 0x30 3 2 0x23; call winbondFanPwmLoad 0x30 3 3 200; call winbondFanPwmLoad 0x30 3 4 64
Load PWM Winbond[33] Percent to Fan [0]
W 30 5B=21
winbond[3] 00000000 00000000 00000000 00000000 00000000 210077
Load PWM Winbond[34] Percent to Fan [1]
W 30 5A=22
winbond[3] 00000000 00000000 00000000 00000000 00000022 210077
Load PWM Winbond[35] Percent to Fan [2]
W 30 5E=23
winbond[3] 00000000 00000000 00000000 00000000 00000022 212377
Load PWM Winbond[200] Percent to Fan [3]
W 30 5F=77
winbond[3] 00000000 00000000 00000000 00000000 00000022 C82377
Load PWM Winbond[64] Percent to Fan [4]
Unsupported Winbond Fan Index = [4].

== Steps of the ladder in the values of the chip
> up w83792ad; hide log fields; call fanLoad 1 25; call fanLoad 1 50; call fanLoad 1 75; call fanLoad 1 100
W 2C 83=84
W 2C 83=88
W 2C 83=8C
W 2C 83=8F
> up w83782d; call fanLoad 1 25; call fanLoad 1 50; call fanLoad 1 75; call fanLoad 1 100
W 2D 5E=40
W 2D 5E=80
W 2D 5E=C0
W 2D 5E=FF
> up chenbro; call fanLoad 1 25; call fanLoad 1 50; call fanLoad 1 75; call fanLoad 1 100
W 28 5A=40
W 28 5A=80
W 28 5A=C0
W 28 5A=FF

== Loads are kept in the shadows of the fan's own backplane
> up chenbro; hide log bus; call fanLoad 0 25; call fanLoad 1 100; call fanLoad 2 75; call fanLoad 3 100; call fanLoad 4 25; call fanLoad 5 75
winbond[0] FF01FF01 FF01FF01 FF01FF01 FF013C7F 41289080 400000
winbond[0] FF01FF01 FF01FF01 FF01FF01 FF013C7F 412890FF 400000
winbond[1] FF01FF01 FF01FF01 FF01FF01 FF013C7F 412A9100 C00000
winbond[2] FF01FF01 FF01FF01 FF01FF01 FF013C7F 412C9200 FF0000
winbond[3] FF01FF01 FF01FF01 FF01FF01 FF013C7F 41309380 400000
winbond[3] FF01FF01 FF01FF01 FF01FF01 FF013C7F 413093C0 400000


== Temperatures of a W83792AD are whole and unsigned, or half and signed
> up w83792ad; hide fields; call esaW83792adTemperatureRead 0; call esaW83792adTemperatureRead 1; call esaW83792adTemperatureRead 2; call esaW83792adTemperatureRead 3; call esaW83792adTemperatureRead 255
R 2C 27=19
Temperature Sensor [0] for I2C address [0x2c] = [25] degrees Celsius.
 = 25
R 2C C1=80
R 2C C0=1A
Temperature Sensor [1] for I2C address [0x2c] = [26] degrees Celsius.
 = 26
R 2C C9=00
R 2C C8=1B
Temperature Sensor [2] for I2C address [0x2c] = [27] degrees Celsius.
 = 27
 = 32767
 = 32767
> hide log bus; reg 2C 27 80; call esaW83792adTemperatureRead 0
 = 128
> reg 2C 27 FF; call esaW83792adTemperatureRead 0
 = 255
> reg 2C C0 19 7F; call esaW83792adTemperatureRead 1
 = 25
> reg 2C C0 FF 80; call esaW83792adTemperatureRead 1
 = 0
> reg 2C C8 FF 00; call esaW83792adTemperatureRead 2
 = -1
> reg 2C C8 80 00; call esaW83792adTemperatureRead 2
 = -128
> reg 2C C8 7F 80; call esaW83792adTemperatureRead 2
 = 127
> reg 2C C8 FE 80; call esaW83792adTemperatureRead 2
 = -1
> show log; hide messages; fail 2; call esaW83792adTemperatureRead 2
Detect I2C Bus Status [ERROR] with Address [0x2c].
Now marking Fault on I2C Device with Address [0x2c].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Set Backplane Alarm State to [FAULT_S1].
Send Email Notification MMSG To Startup.
 = 32767
> sweep use w83792ad, set i2cConnected 1 | call esaW83792adTemperatureRead 1
1: R 2C C1 ENXIO ends it = 32767

== A temperature of a W83782D is signed and said under the design's own address
> up w83782d; hide bus fields; reg 2D 27 F6; call esaW83782dTemperatureRead 0x2D 0
Temperature Sensor [0] for I2C address [0x2d] = [-10] degrees Celsius.
 = -10
> reg 30 27 19; call esaW83782dTemperatureRead 0x30 0
Temperature Sensor [0] for I2C address [0x2d] = [25] degrees Celsius.
 = 25
> reg 2D 27 80; call esaW83782dTemperatureRead 0x2D 0
Temperature Sensor [0] for I2C address [0x2d] = [-128] degrees Celsius.
 = -128
> reg 2D 27 7F; call esaW83782dTemperatureRead 0x2D 0
Temperature Sensor [0] for I2C address [0x2d] = [127] degrees Celsius.
 = 127
> show bus; call esaW83782dTemperatureRead 0x2D 1
Temperature Sensor [1] for I2C address [0x2d] = [32767] degrees Celsius.
 = 32767

== The W83792AD says all channels and loses the tolerance
> use w83792ad; set i2cConnected 1; hide bus; call esaW83792adPowerVoltageToleranceStatusRead
Read Voltage Tolerance, I2C address = [0x2c].
Vcorea = [160].
Converted Vcorea = [1.280000]V.
Low Bits 1 = [0].
Converted Vcorea = [1.280000]V.
Vcoreb = [161].
Converted Vcoreb = [1.288000]V.
Low Bits 1 = [1].
Converted Vcoreb = [1.290000]V.
Vin0 = [162]
Converted Vinr0 = [2.592000]V.
Low Bits 1 = [2]
Converted Vin0 = [0.008000]V.
Vin1 = [163]
Converted Vin1 = [2.608000]V.
Low Bits 1 = [3]
Converted Vin1 = [0.012000]V.
Vin2 = [164]
Converted Vin2 = [2.624000]V.
Low Bits 2 = [3]
Converted Vin2 = [0.012000]V.
Vin3 = [165]
Converted Vin3 = [2.640000]V.
Low Bits 2 = [2]
Converted Vin3 = [0.008000]V.
+5Vcc = [208]
Low Bits 2 = [1]
Converted =5Vcc = [0.006000]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.
 = -1
> hide log; reg 2C 3F FF; call esaW83792adPowerVoltageToleranceStatusRead; call esaReportTimeoutProcess
 = -1
event   statistics: information, enclosure W83792AD, 0.02 V, 0.00 V, fans 0 0 0 0 0 0 RPM, temperatures 0 0 0 degrees
 = 360
> sweep use w83792ad, set i2cConnected 1 | call esaW83792adPowerVoltageToleranceStatusRead
1: R 2C 20 ENXIO ends it = 1

== The W83782D says all channels and judges two of them as it reads them
> use w83782d; set i2cConnected 1; call esaW83782dPowerVoltageToleranceStatusRead 0x2D; hide log; call esaReportTimeoutProcess
Read Voltage Tolerance, I2C address = [0x2d].
R 2D 20=50
Vcorea = [80].
Converted Vcorea = [1.280000]V.
R 2D 21=51
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
R 2D 22=CE
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
R 2D 23=BA
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
R 2D 24=C6
+12Vin = [198]
Converted +12Vin = [12.038400]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
R 2D 25=21
-12Vin = [33]
Converted -12Vin = [-12.198857]V.
R 2D 26=35
-5Vin = [53]
Converted -5Vin = [-5.049143]V.
 = 0
event   statistics: information, enclosure W83782D, 5.00 V, 12.04 V, fans  RPM, temperatures  degrees
 = 360
> reg 2D 23 A7; call esaW83782dPowerVoltageToleranceStatusRead 0x2D
R 2D 20=50
R 2D 21=51
R 2D 22=CE
R 2D 23=A7
 = -1
> hide bus; reg 2D 23 A8; call esaW83782dPowerVoltageToleranceStatusRead 0x2D
 = 0
> reg 2D 23 CC; call esaW83782dPowerVoltageToleranceStatusRead 0x2D
 = 0
> show log; reg 2D 23 CD; call esaW83782dPowerVoltageToleranceStatusRead 0x2D
Read Voltage Tolerance, I2C address = [0x2d].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [205]
Converted +5Vin = [5.510400]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.
 = -1
> reg 2D 23 BA B1; call esaW83782dPowerVoltageToleranceStatusRead 0x2D
Read Voltage Tolerance, I2C address = [0x2d].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
+12Vin = [177]
Converted +12Vin = [10.761600]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
Return Power Voltage Tolerance Status [ERROR] because of +12Vin measurement.
 = -1
> hide bus log; reg 2D 24 B2; call esaW83782dPowerVoltageToleranceStatusRead 0x2D
 = 0
> reg 2D 24 D9; call esaW83782dPowerVoltageToleranceStatusRead 0x2D
 = 0
> reg 2D 24 DA; call esaW83782dPowerVoltageToleranceStatusRead 0x2D
 = -1

== Only fault and mute move the alarm, bit 6 of the monitor's own shadow
# Byte 16 of a monitor's shadows is its configuration.
> use w83782d; set i2cConnected 1; set winbond[2][16] 0xE3; call esaW83782dAlarmStateSet 0x2D 2 0; call esaW83782dAlarmStateSet 0x2D 2 1; call esaW83782dAlarmStateSet 0x2D 2 2; call esaW83782dAlarmStateSet 0x2D 2 3; call esaW83782dAlarmStateSet 0x2D 2 4; call esaW83782dAlarmStateSet 0x2D 2 5; call esaW83782dAlarmStateSet 0x2D 2 6; call esaW83782dAlarmStateSet 0x2D 2 7; call esaW83782dAlarmStateSet 0x2D 2 9
No action on setting Backplane Alarm State to [IDEL_S0].
W 2D 40=A3
Set Backplane Alarm State to [FAULT_S1].
winbond[2] 00000000 00000000 00000000 00000000 A3000000 000000
No action on setting Backplane Alarm State to [REMIND_S2].
W 2D 40=E3
Set Backplane Alarm State to [MUTE_S3].
winbond[2] 00000000 00000000 00000000 00000000 E3000000 000000
No action on setting Backplane Alarm State to [CRITICAL_S4].
No action on setting Backplane Alarm State to [STATE_S5].
No action on setting Backplane Alarm State to [STATE_S6].
No action on setting Backplane Alarm State to [STATE_S7].
Set Backplane Alarm State to un-supported value [9].
> use w83792ad; set i2cConnected 1; call esaW83792adAlarmStateBackplaneSet 1; call esaW83792adAlarmStateBackplaneSet 2; call esaW83792adAlarmStateBackplaneSet 9
Set Backplane Alarm State to [FAULT_S1].
No action on setting Backplane Alarm State to [REMIND_S2].
Set Backplane Alarm State to un-supported value [9].
> use chenbro; set i2cConnected 1; set winbond[0][16] 0x40; set winbond[1][16] 0x41; set winbond[2][16] 0x42; set winbond[3][16] 0x43; hide fields; call chenbroAlarmStateSet 1; call chenbroAlarmStateSet 2; call chenbroAlarmStateSet 3
W 28 40=00
Set Backplane Alarm State to [FAULT_S1].
W 2A 40=01
Set Backplane Alarm State to [FAULT_S1].
W 2C 40=02
Set Backplane Alarm State to [FAULT_S1].
W 30 40=03
Set Backplane Alarm State to [FAULT_S1].
No action on setting Backplane Alarm State to [REMIND_S2].
No action on setting Backplane Alarm State to [REMIND_S2].
No action on setting Backplane Alarm State to [REMIND_S2].
No action on setting Backplane Alarm State to [REMIND_S2].
W 28 40=40
Set Backplane Alarm State to [MUTE_S3].
W 2A 40=41
Set Backplane Alarm State to [MUTE_S3].
W 2C 40=42
Set Backplane Alarm State to [MUTE_S3].
W 30 40=43
Set Backplane Alarm State to [MUTE_S3].

== A backplane that does not exist has no shadow and is not written
> up chenbro; hide fields; call winbondFanPwmLoad 0x30 4 0 0x21; call winbondFanPwmLoad 0x30 255 0 0x21; call esaW83782dAlarmStateSet 0x30 4 1; call esaW83782dAlarmStateSet 0x30 255 3
Load PWM Winbond[33] Percent to Fan [0]
Unsupported Winbond Backplane Index = [4].
Load PWM Winbond[33] Percent to Fan [0]
Unsupported Winbond Backplane Index = [255].
Unsupported Winbond Backplane Index = [4].
Unsupported Winbond Backplane Index = [255].

== Fans and loads Chenbro does not know are traced only
> up chenbro; hide fields; call chenbroW83782dFanPwmLoad 6 50; call chenbroW83782dFanPwmLoad 2 30; call chenbroW83782dFanPwmLoad 9 30; call chenbroW83782dFanSpeedRead 6
Load PWM Esa[50] Percent to Fan [6]
Unsupported Fan Index = [6].
Load PWM Esa[30] Percent to Fan [2]
Unsupported ESA PWM Percentage = [30].
Load PWM Esa[30] Percent to Fan [9]
Unsupported ESA PWM Percentage = [30].
Read speed with Fan, chenbroFanInx = [6].
Unsupported Fan Index = [6].
 = -1, 4711
> call chenbroW83782dFanPwmLoad 5 0; call chenbroW83782dFanSpeedRead 5
Load PWM Esa[0] Percent to Fan [5]
Load PWM Winbond[0] Percent to Fan [1]
W 2B 5A=00
Read speed with Fan, chenbroFanInx = [5].
Read speed with Fan, I2C address = [0x2b], w83782dFanInx = [1].
R 2B 29=87
Fan with I2C address [0x2b], fanSpeedReading Reg [0x29], read speed value = [135].
Fan with I2C address [0x2b], fanSpeedReading Reg [0x29] has RPM [5000].
 = 0, 5000
# An unreachable monitor is an ordinary error; the backplanes behind it are not read.
> hide log messages; cut 0x2A; call chenbroW83782dFanSpeedRead 3; call chenbroPowerVoltageToleranceStatusRead
R 2A 28 ENXIO
W 28 40=01
W 2A 40 ENXIO
W 2C 40=01
W 30 40=01
 = -1, 4711
R 28 20=50
R 28 21=51
R 28 22=CE
R 28 23=BA
R 28 24=C6
R 28 25=21
R 28 26=35
R 2A 20 ENXIO
 = -1

== LEDs of the expander are bits of two ports, named in opposite styles
> use w83792ad; set i2cConnected 1; set deviceMaxNumber 12; hide fields
> call esaPca9539DriveFaultLEDSet 3; call esaPca9539DriveFaultLEDSet 5; call esaPca9539DriveFaultLEDSet 5; call esaPca9539DriveFaultLEDClear 3
Set Fault LED on Drive [3]
pca9539.outputPort0 = [0x8]
W 74 02=08
 = 0
Set Fault LED on Drive [5]
pca9539.outputPort0 = [0x28]
W 74 02=28
 = 0
Set Fault LED on Drive [5]
pca9539.outputPort0 = [0x28]
W 74 02=28
 = 0
Clear Fault LED on Drive [3]
pca9539.outputPort0Register = [0x20]
W 74 02=20
 = 0
> call esaPca9539DriveFaultLEDSet 8; call esaPca9539DriveFaultLEDSet 9; call esaPca9539DriveFaultLEDClear 9; call esaPca9539DriveFaultLEDSet 11
Set Fault LED on Drive [8]
pca9539.outputPort1Register = [0x1]
W 74 03=01
 = 0
Set Fault LED on Drive [9]
pca9539.outputPort1Register = [0x3]
W 74 03=03
 = 0
Clear Fault LED on Drive [9]
pca9539.outputPort1 = [0x1]
W 74 03=01
 = 0
Set Fault LED on Drive [11]
pca9539.outputPort1Register = [0x9]
W 74 03=09
 = 0
> call esaPca9539DriveFaultLEDSet 12; call esaPca9539DriveFaultLEDClear -1
Set Fault LED on Drive [12]
Un-supported Drive Number = [12]
 = -1
Clear Fault LED on Drive [-1]
Un-supported Drive Number = [-1]
 = -1
> hide log; set deviceMaxNumber 4; call esaPca9539DriveFaultLEDSet 7; call esaPca9539DriveFaultLEDSet 8
W 74 02=A0
 = 0
 = -1
> set deviceMaxNumber 255; call esaPca9539DriveFaultLEDSet 15; call esaPca9539DriveFaultLEDSet 16
W 74 03=89
 = 0
 = -1
# A failed write is not the caller's matter and is made up by the next.
> fail 1; call esaPca9539DriveFaultLEDClear 7; call esaPca9539DriveFaultLEDSet 0
W 74 02 ENXIO
led     composite fault LED on
mail    e-mail notification
event   device PCA9539: warning, enclosure W83792AD, does not answer
 = 0
W 74 02=21
led     composite fault LED off
event   device PCA9539: warning, enclosure W83792AD, answers
 = 0

== Polls in words
> up w83792ad; hide bus fields; call poll
Return Power Redundancy Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Read Voltage Tolerance, I2C address = [0x2c].
Vcorea = [160].
Converted Vcorea = [1.280000]V.
Low Bits 1 = [0].
Converted Vcorea = [1.280000]V.
Vcoreb = [161].
Converted Vcoreb = [1.288000]V.
Low Bits 1 = [1].
Converted Vcoreb = [1.290000]V.
Vin0 = [162]
Converted Vinr0 = [2.592000]V.
Low Bits 1 = [2]
Converted Vin0 = [0.008000]V.
Vin1 = [163]
Converted Vin1 = [2.608000]V.
Low Bits 1 = [3]
Converted Vin1 = [0.012000]V.
Vin2 = [164]
Converted Vin2 = [2.624000]V.
Low Bits 2 = [3]
Converted Vin2 = [0.012000]V.
Vin3 = [165]
Converted Vin3 = [2.640000]V.
Low Bits 2 = [2]
Converted Vin3 = [0.008000]V.
+5Vcc = [208]
Low Bits 2 = [1]
Converted =5Vcc = [0.006000]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
Set the new Fault bit [0x1].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Set Backplane Alarm State to [FAULT_S1].
Send Email Notification MMSG To Startup.
Power Voltage Tolerance Status changed from [OK] to [NOT OK].
Read speed with Fan Inx = [0].
Fan with W83792AD, fanSpeedReading Reg [0x28], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0x28] has RPM [5000].
Fan [0] has speed [5000] RPM.
Already marked OK on Fan [0].
Read speed with Fan Inx = [1].
Fan with W83792AD, fanSpeedReading Reg [0x29], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0x29] has RPM [5000].
Fan [1] has speed [5000] RPM.
Already marked OK on Fan [1].
Read speed with Fan Inx = [2].
Fan with W83792AD, fanSpeedReading Reg [0x2a], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0x2a] has RPM [5000].
Fan [2] has speed [5000] RPM.
Already marked OK on Fan [2].
Read speed with Fan Inx = [3].
Fan with W83792AD, fanSpeedReading Reg [0xb8], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0xb8] has RPM [5000].
Fan [3] has speed [5000] RPM.
Already marked OK on Fan [3].
Read speed with Fan Inx = [4].
Fan with W83792AD, fanSpeedReading Reg [0xb9], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0xb9] has RPM [5000].
Fan [4] has speed [5000] RPM.
Already marked OK on Fan [4].
Read speed with Fan Inx = [5].
Fan with W83792AD, fanSpeedReading Reg [0xba], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0xba] has RPM [5000].
Fan [5] has speed [5000] RPM.
Already marked OK on Fan [5].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
Temperature Sensor [0] for I2C address [0x2c] = [25] degrees Celsius.
temperatureSensor[0] = [25] degrees Celsius.
Temperature Sensor [1] for I2C address [0x2c] = [26] degrees Celsius.
temperatureSensor[1] = [26] degrees Celsius.
Temperature Sensor [2] for I2C address [0x2c] = [27] degrees Celsius.
temperatureSensor[2] = [27] degrees Celsius.
temperatureSensorAverage = [26] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
event   power supply status: information, supplies 2, status 0x03 (voltage good, redundancy good)
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x02 (voltage bad, redundancy good)
> call poll
Return Power Redundancy Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Power Redundancy Status already [OK].
Read Voltage Tolerance, I2C address = [0x2c].
Vcorea = [160].
Converted Vcorea = [1.280000]V.
Low Bits 1 = [0].
Converted Vcorea = [1.280000]V.
Vcoreb = [161].
Converted Vcoreb = [1.288000]V.
Low Bits 1 = [1].
Converted Vcoreb = [1.290000]V.
Vin0 = [162]
Converted Vinr0 = [2.592000]V.
Low Bits 1 = [2]
Converted Vin0 = [0.008000]V.
Vin1 = [163]
Converted Vin1 = [2.608000]V.
Low Bits 1 = [3]
Converted Vin1 = [0.012000]V.
Vin2 = [164]
Converted Vin2 = [2.624000]V.
Low Bits 2 = [3]
Converted Vin2 = [0.012000]V.
Vin3 = [165]
Converted Vin3 = [2.640000]V.
Low Bits 2 = [2]
Converted Vin3 = [0.008000]V.
+5Vcc = [208]
Low Bits 2 = [1]
Converted =5Vcc = [0.006000]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
The Fault bit [0x1] is already set.
Power Voltage Tolerance Status already [NOT OK].
Read speed with Fan Inx = [0].
Fan with W83792AD, fanSpeedReading Reg [0x28], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0x28] has RPM [5000].
Fan [0] has speed [5000] RPM.
Already marked OK on Fan [0].
Read speed with Fan Inx = [1].
Fan with W83792AD, fanSpeedReading Reg [0x29], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0x29] has RPM [5000].
Fan [1] has speed [5000] RPM.
Already marked OK on Fan [1].
Read speed with Fan Inx = [2].
Fan with W83792AD, fanSpeedReading Reg [0x2a], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0x2a] has RPM [5000].
Fan [2] has speed [5000] RPM.
Already marked OK on Fan [2].
Read speed with Fan Inx = [3].
Fan with W83792AD, fanSpeedReading Reg [0xb8], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0xb8] has RPM [5000].
Fan [3] has speed [5000] RPM.
Already marked OK on Fan [3].
Read speed with Fan Inx = [4].
Fan with W83792AD, fanSpeedReading Reg [0xb9], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0xb9] has RPM [5000].
Fan [4] has speed [5000] RPM.
Already marked OK on Fan [4].
Read speed with Fan Inx = [5].
Fan with W83792AD, fanSpeedReading Reg [0xba], read speed value = [135].
Fan with W83792AD, fanSpeedReading Reg [0xba] has RPM [5000].
Fan [5] has speed [5000] RPM.
Already marked OK on Fan [5].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
Temperature Sensor [0] for I2C address [0x2c] = [25] degrees Celsius.
temperatureSensor[0] = [25] degrees Celsius.
Temperature Sensor [1] for I2C address [0x2c] = [26] degrees Celsius.
temperatureSensor[1] = [26] degrees Celsius.
Temperature Sensor [2] for I2C address [0x2c] = [27] degrees Celsius.
temperatureSensor[2] = [27] degrees Celsius.
temperatureSensorAverage = [26] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
> reg 2C 1C 7F; set coolingMaxNumber 0; set temperatureSensorMaxNumber 0; call poll
Return Power Redundancy Status [ERROR].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
Set the new Fault bit [0x2].
The Composite Fault LED is currently ON for other Faults.
Send Email Notification MMSG To Startup.
Read Voltage Tolerance, I2C address = [0x2c].
Vcorea = [160].
Converted Vcorea = [1.280000]V.
Low Bits 1 = [0].
Converted Vcorea = [1.280000]V.
Vcoreb = [161].
Converted Vcoreb = [1.288000]V.
Low Bits 1 = [1].
Converted Vcoreb = [1.290000]V.
Vin0 = [162]
Converted Vinr0 = [2.592000]V.
Low Bits 1 = [2]
Converted Vin0 = [0.008000]V.
Vin1 = [163]
Converted Vin1 = [2.608000]V.
Low Bits 1 = [3]
Converted Vin1 = [0.012000]V.
Vin2 = [164]
Converted Vin2 = [2.624000]V.
Low Bits 2 = [3]
Converted Vin2 = [0.012000]V.
Vin3 = [165]
Converted Vin3 = [2.640000]V.
Low Bits 2 = [2]
Converted Vin3 = [0.008000]V.
+5Vcc = [208]
Low Bits 2 = [1]
Converted =5Vcc = [0.006000]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
The Fault bit [0x1] is already set.
Power Voltage Tolerance Status already [NOT OK].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
No readable temperature sensor, temperatureSensorAverage stays [26].
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x00 (voltage bad, redundancy lost)
> call poll
Return Power Redundancy Status [ERROR].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] exists currently.
The Fault bit [0x2] is already set.
Power Redundancy Status already [NOT OK].
Read Voltage Tolerance, I2C address = [0x2c].
Vcorea = [160].
Converted Vcorea = [1.280000]V.
Low Bits 1 = [0].
Converted Vcorea = [1.280000]V.
Vcoreb = [161].
Converted Vcoreb = [1.288000]V.
Low Bits 1 = [1].
Converted Vcoreb = [1.290000]V.
Vin0 = [162]
Converted Vinr0 = [2.592000]V.
Low Bits 1 = [2]
Converted Vin0 = [0.008000]V.
Vin1 = [163]
Converted Vin1 = [2.608000]V.
Low Bits 1 = [3]
Converted Vin1 = [0.012000]V.
Vin2 = [164]
Converted Vin2 = [2.624000]V.
Low Bits 2 = [3]
Converted Vin2 = [0.012000]V.
Vin3 = [165]
Converted Vin3 = [2.640000]V.
Low Bits 2 = [2]
Converted Vin3 = [0.008000]V.
+5Vcc = [208]
Low Bits 2 = [1]
Converted =5Vcc = [0.006000]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
The Fault bit [0x1] is already set.
Power Voltage Tolerance Status already [NOT OK].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
No readable temperature sensor, temperatureSensorAverage stays [26].
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
> reg 2C 1C 80; call poll
Return Power Redundancy Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] exists currently.
Clear the current Fault bit [0x2].
Read Voltage Tolerance, I2C address = [0x2c].
Vcorea = [160].
Converted Vcorea = [1.280000]V.
Low Bits 1 = [0].
Converted Vcorea = [1.280000]V.
Vcoreb = [161].
Converted Vcoreb = [1.288000]V.
Low Bits 1 = [1].
Converted Vcoreb = [1.290000]V.
Vin0 = [162]
Converted Vinr0 = [2.592000]V.
Low Bits 1 = [2]
Converted Vin0 = [0.008000]V.
Vin1 = [163]
Converted Vin1 = [2.608000]V.
Low Bits 1 = [3]
Converted Vin1 = [0.012000]V.
Vin2 = [164]
Converted Vin2 = [2.624000]V.
Low Bits 2 = [3]
Converted Vin2 = [0.012000]V.
Vin3 = [165]
Converted Vin3 = [2.640000]V.
Low Bits 2 = [2]
Converted Vin3 = [0.008000]V.
+5Vcc = [208]
Low Bits 2 = [1]
Converted =5Vcc = [0.006000]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
The Fault bit [0x1] is already set.
Power Voltage Tolerance Status already [NOT OK].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
No readable temperature sensor, temperatureSensorAverage stays [26].
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
event   power supply status: information, supplies 2, status 0x02 (voltage bad, redundancy good)
> up w83782d; call poll
Read Voltage Tolerance, I2C address = [0x2d].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
+12Vin = [198]
Converted +12Vin = [12.038400]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
-12Vin = [33]
Converted -12Vin = [-12.198857]V.
-5Vin = [53]
Converted -5Vin = [-5.049143]V.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
The Fault bit [0x1] is already clear.
Power Voltage Tolerance Status already [OK].
Read speed with Fan, I2C address = [0x2d], w83782dFanInx = [0].
Fan with I2C address [0x2d], fanSpeedReading Reg [0x28], read speed value = [135].
Fan with I2C address [0x2d], fanSpeedReading Reg [0x28] has RPM [5000].
Fan [0] has speed [5000] RPM.
Already marked OK on Fan [0].
Read speed with Fan, I2C address = [0x2d], w83782dFanInx = [1].
Fan with I2C address [0x2d], fanSpeedReading Reg [0x29], read speed value = [135].
Fan with I2C address [0x2d], fanSpeedReading Reg [0x29] has RPM [5000].
Fan [1] has speed [5000] RPM.
Already marked OK on Fan [1].
Read speed with Fan, I2C address = [0x2d], w83782dFanInx = [2].
Fan with I2C address [0x2d], fanSpeedReading Reg [0x2a], read speed value = [135].
Fan with I2C address [0x2d], fanSpeedReading Reg [0x2a] has RPM [5000].
Fan [2] has speed [5000] RPM.
Already marked OK on Fan [2].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
Temperature Sensor [0] for I2C address [0x2d] = [25] degrees Celsius.
temperatureSensor[0] = [25] degrees Celsius.
Temperature Sensor [1] for I2C address [0x2d] = [32767] degrees Celsius.
temperatureSensor[1] = [32767] degrees Celsius.
Temperature Sensor [2] for I2C address [0x2d] = [32767] degrees Celsius.
temperatureSensor[2] = [32767] degrees Celsius.
temperatureSensorAverage = [25] degrees Celsius.
Load PWM Winbond[192] Percent to Fan [0]
Temperature = [25], Fan [0] set to 75 percent PWM
Load PWM Winbond[192] Percent to Fan [1]
Temperature = [25], Fan [1] set to 75 percent PWM
Load PWM Winbond[192] Percent to Fan [2]
Temperature = [25], Fan [2] set to 75 percent PWM
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
> reg 2D 23 00; set coolingMaxNumber 0; set temperatureSensorMaxNumber 0; call poll
Read Voltage Tolerance, I2C address = [0x2d].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [0]
Converted +5Vin = [0.000000]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
Set the new Fault bit [0x1].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Set Backplane Alarm State to [FAULT_S1].
Send Email Notification MMSG To Startup.
Power Voltage Tolerance Status changed from [OK] to [NOT OK].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
No readable temperature sensor, temperatureSensorAverage stays [25].
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 2, status 0x00 (voltage bad, redundancy lost)
> call poll
Read Voltage Tolerance, I2C address = [0x2d].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [0]
Converted +5Vin = [0.000000]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
The Fault bit [0x1] is already set.
Power Voltage Tolerance Status already [NOT OK].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
No readable temperature sensor, temperatureSensorAverage stays [25].
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
> reg 2D 23 BA; call poll
Read Voltage Tolerance, I2C address = [0x2d].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
+12Vin = [198]
Converted +12Vin = [12.038400]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
-12Vin = [33]
Converted -12Vin = [-12.198857]V.
-5Vin = [53]
Converted -5Vin = [-5.049143]V.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
Clear the current Fault bit [0x1].
[Clear] Composite Fault LED in Startup.
Set Backplane Alarm State to [MUTE_S3].
Power Voltage Tolerance Status changed from [NOT OK] to [OK].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
No readable temperature sensor, temperatureSensorAverage stays [25].
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
led     composite fault LED off
event   power supply status: information, supplies 2, status 0x01 (voltage good, redundancy lost)
> up chenbro; call poll
Read Voltage Tolerance, I2C address = [0x28].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
+12Vin = [198]
Converted +12Vin = [12.038400]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
-12Vin = [33]
Converted -12Vin = [-12.198857]V.
-5Vin = [53]
Converted -5Vin = [-5.049143]V.
Read Voltage Tolerance, I2C address = [0x2a].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
+12Vin = [198]
Converted +12Vin = [12.038400]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
-12Vin = [33]
Converted -12Vin = [-12.198857]V.
-5Vin = [53]
Converted -5Vin = [-5.049143]V.
Read Voltage Tolerance, I2C address = [0x2c].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
+12Vin = [198]
Converted +12Vin = [12.038400]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
-12Vin = [33]
Converted -12Vin = [-12.198857]V.
-5Vin = [53]
Converted -5Vin = [-5.049143]V.
Read Voltage Tolerance, I2C address = [0x30].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
+12Vin = [198]
Converted +12Vin = [12.038400]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
-12Vin = [33]
Converted -12Vin = [-12.198857]V.
-5Vin = [53]
Converted -5Vin = [-5.049143]V.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
The Fault bit [0x1] is already clear.
Power Voltage Tolerance Status already [OK].
Read speed with Fan, chenbroFanInx = [0].
Read speed with Fan, I2C address = [0x28], w83782dFanInx = [0].
Fan with I2C address [0x28], fanSpeedReading Reg [0x28], read speed value = [135].
Fan with I2C address [0x28], fanSpeedReading Reg [0x28] has RPM [5000].
Fan [0] has speed [5000] RPM.
Already marked OK on Fan [0].
Read speed with Fan, chenbroFanInx = [1].
Read speed with Fan, I2C address = [0x28], w83782dFanInx = [1].
Fan with I2C address [0x28], fanSpeedReading Reg [0x29], read speed value = [135].
Fan with I2C address [0x28], fanSpeedReading Reg [0x29] has RPM [5000].
Fan [1] has speed [5000] RPM.
Already marked OK on Fan [1].
Read speed with Fan, chenbroFanInx = [2].
Read speed with Fan, I2C address = [0x29], w83782dFanInx = [0].
Fan with I2C address [0x29], fanSpeedReading Reg [0x28], read speed value = [135].
Fan with I2C address [0x29], fanSpeedReading Reg [0x28] has RPM [5000].
Fan [2] has speed [5000] RPM.
Already marked OK on Fan [2].
Read speed with Fan, chenbroFanInx = [3].
Read speed with Fan, I2C address = [0x2a], w83782dFanInx = [0].
Fan with I2C address [0x2a], fanSpeedReading Reg [0x28], read speed value = [135].
Fan with I2C address [0x2a], fanSpeedReading Reg [0x28] has RPM [5000].
Fan [3] has speed [5000] RPM.
Already marked OK on Fan [3].
Read speed with Fan, chenbroFanInx = [4].
Read speed with Fan, I2C address = [0x2b], w83782dFanInx = [0].
Fan with I2C address [0x2b], fanSpeedReading Reg [0x28], read speed value = [135].
Fan with I2C address [0x2b], fanSpeedReading Reg [0x28] has RPM [5000].
Fan [4] has speed [5000] RPM.
Already marked OK on Fan [4].
Read speed with Fan, chenbroFanInx = [5].
Read speed with Fan, I2C address = [0x2b], w83782dFanInx = [1].
Fan with I2C address [0x2b], fanSpeedReading Reg [0x29], read speed value = [135].
Fan with I2C address [0x2b], fanSpeedReading Reg [0x29] has RPM [5000].
Fan [5] has speed [5000] RPM.
Already marked OK on Fan [5].
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
Temperature Sensor [0] for I2C address [0x0] = [25] degrees Celsius.
temperatureSensor[0] = [25] degrees Celsius.
Temperature Sensor [0] for I2C address [0x0] = [26] degrees Celsius.
temperatureSensor[1] = [26] degrees Celsius.
Temperature Sensor [0] for I2C address [0x0] = [27] degrees Celsius.
temperatureSensor[2] = [27] degrees Celsius.
Temperature Sensor [0] for I2C address [0x0] = [28] degrees Celsius.
temperatureSensor[3] = [28] degrees Celsius.
temperatureSensorAverage = [26] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.

== Pages in words: a voltage that stays bad is said in those of redundancy
> up w83792ad; set coolingMaxNumber 0; set deviceMaxNumber 0; set temperatureSensorMaxNumber 0; set powerSupplyMaxNumber 1; hide bus fields log; page
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 1, status 0x02 (voltage bad, redundancy good)
reply   to environment manager: GOOD, enclosure status page, 100 bytes, handle 0
> show log; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Return Power Redundancy Status [OK].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
The Fault bit [0x2] is already clear.
Power Redundancy Status already [OK].
Read Voltage Tolerance, I2C address = [0x2c].
Vcorea = [160].
Converted Vcorea = [1.280000]V.
Low Bits 1 = [0].
Converted Vcorea = [1.280000]V.
Vcoreb = [161].
Converted Vcoreb = [1.288000]V.
Low Bits 1 = [1].
Converted Vcoreb = [1.290000]V.
Vin0 = [162]
Converted Vinr0 = [2.592000]V.
Low Bits 1 = [2]
Converted Vin0 = [0.008000]V.
Vin1 = [163]
Converted Vin1 = [2.608000]V.
Low Bits 1 = [3]
Converted Vin1 = [0.012000]V.
Vin2 = [164]
Converted Vin2 = [2.624000]V.
Low Bits 2 = [3]
Converted Vin2 = [0.012000]V.
Vin3 = [165]
Converted Vin3 = [2.640000]V.
Low Bits 2 = [2]
Converted Vin3 = [0.008000]V.
+5Vcc = [208]
Low Bits 2 = [1]
Converted =5Vcc = [0.006000]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
The Fault bit [0x1] is already set.
Power Redundancy Status already [NOT OK].
Send out a Diagnostic Page.
reply   to environment manager: GOOD, enclosure status page, 100 bytes, handle 0
> reg 2C 1C 7F; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Return Power Redundancy Status [ERROR].
This Fault bit is [POWER_SUPPLY_REDUNDANCY]
This Fault bit [0x2] does NOT exist currently.
Set the new Fault bit [0x2].
The Composite Fault LED is currently ON for other Faults.
Send Email Notification MMSG To Startup.
Read Voltage Tolerance, I2C address = [0x2c].
Vcorea = [160].
Converted Vcorea = [1.280000]V.
Low Bits 1 = [0].
Converted Vcorea = [1.280000]V.
Vcoreb = [161].
Converted Vcoreb = [1.288000]V.
Low Bits 1 = [1].
Converted Vcoreb = [1.290000]V.
Vin0 = [162]
Converted Vinr0 = [2.592000]V.
Low Bits 1 = [2]
Converted Vin0 = [0.008000]V.
Vin1 = [163]
Converted Vin1 = [2.608000]V.
Low Bits 1 = [3]
Converted Vin1 = [0.012000]V.
Vin2 = [164]
Converted Vin2 = [2.624000]V.
Low Bits 2 = [3]
Converted Vin2 = [0.012000]V.
Vin3 = [165]
Converted Vin3 = [2.640000]V.
Low Bits 2 = [2]
Converted Vin3 = [0.008000]V.
+5Vcc = [208]
Low Bits 2 = [1]
Converted =5Vcc = [0.006000]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
Return Power Voltage Tolerance Status [ERROR] because of +5Vin measurement.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
The Fault bit [0x1] is already set.
Power Redundancy Status already [NOT OK].
Send out a Diagnostic Page.
mail    e-mail notification
event   power supply status: warning, supplies 1, status 0x00 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 100 bytes, handle 0
> up w83782d; set coolingMaxNumber 0; set deviceMaxNumber 0; set temperatureSensorMaxNumber 0; set powerSupplyMaxNumber 1; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Read Voltage Tolerance, I2C address = [0x2d].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
+12Vin = [198]
Converted +12Vin = [12.038400]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
-12Vin = [33]
Converted -12Vin = [-12.198857]V.
-5Vin = [53]
Converted -5Vin = [-5.049143]V.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
The Fault bit [0x1] is already clear.
Power Voltage Tolerance Status already [OK].
Send out a Diagnostic Page.
reply   to environment manager: GOOD, enclosure status page, 100 bytes, handle 0
> reg 2D 24 00; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Read Voltage Tolerance, I2C address = [0x2d].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
+12Vin = [0]
Converted +12Vin = [0.000000]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
Return Power Voltage Tolerance Status [ERROR] because of +12Vin measurement.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] does NOT exist currently.
Set the new Fault bit [0x1].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Set Backplane Alarm State to [FAULT_S1].
Send Email Notification MMSG To Startup.
Send out a Diagnostic Page.
led     composite fault LED on
mail    e-mail notification
event   power supply status: warning, supplies 1, status 0x00 (voltage bad, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 100 bytes, handle 0
> page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Read Voltage Tolerance, I2C address = [0x2d].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
+12Vin = [0]
Converted +12Vin = [0.000000]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
Return Power Voltage Tolerance Status [ERROR] because of +12Vin measurement.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
The Fault bit [0x1] is already set.
Power Redundancy Status already [NOT OK].
Send out a Diagnostic Page.
reply   to environment manager: GOOD, enclosure status page, 100 bytes, handle 0
> reg 2D 24 C6; page
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Read Voltage Tolerance, I2C address = [0x2d].
Vcorea = [80].
Converted Vcorea = [1.280000]V.
Vinr0 = [81]
Converted Vinr0 = [1.296000]V.
+3.3Vin = [206]
Converted +3.3Vin = [3.296000]V.
+5Vin = [186]
Converted +5Vin = [4.999680]V.
+5Vin low limit = [4.500000]V. +5Vin high limit = [5.500000].
+12Vin = [198]
Converted +12Vin = [12.038400]V.
+12Vin low limit = [10.800000]V. +12Vin high limit = [13.200000].
-12Vin = [33]
Converted -12Vin = [-12.198857]V.
-5Vin = [53]
Converted -5Vin = [-5.049143]V.
This Fault bit is [POWER_SUPPLY_VOLTAGE_TOLERANCE]
This Fault bit [0x1] exists currently.
Clear the current Fault bit [0x1].
[Clear] Composite Fault LED in Startup.
Set Backplane Alarm State to [MUTE_S3].
Send out a Diagnostic Page.
led     composite fault LED off
event   power supply status: warning, supplies 1, status 0x01 (voltage good, redundancy lost)
reply   to environment manager: GOOD, enclosure status page, 100 bytes, handle 0
