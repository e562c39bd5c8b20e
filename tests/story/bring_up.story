# Bring-up of every chassis on plain registers: what it says, what it leaves in the service's state,
# and where it ends when one transfer fails. Its traffic stands in tests/golden.

== Xyratex
> hide bus; use xyratex; call init
Read I2C succeeds. I2C cable is connected
Setup the data direction for all VSC055 ports.
ESA internal database, esaControl.vitesse.vsc055DDP[0] = [0xff]
Read VSC055_DDP[0] Register, returned value = [0xff]
ESA internal database, esaControl.vitesse.vsc055DDP[1] = [0x0]
Read VSC055_DDP[1] Register, returned value = [0x0]
ESA internal database, esaControl.vitesse.vsc055DDP[2] = [0xff]
Read VSC055_DDP[2] Register, returned value = [0xff]
ESA internal database, esaControl.vitesse.vsc055DDP[3] = [0xf]
Read VSC055_DDP[3] Register, returned value = [0xf]
ESA internal database, esaControl.vitesse.vsc055DDP[4] = [0x30]
Read VSC055_DDP[4] Register, returned value = [0x30]
ESA internal database, esaControl.vitesse.vsc055DDP[5] = [0x10]
Read VSC055_DDP[5] Register, returned value = [0x10]
ESA internal database, esaControl.vitesse.vsc055DDP[6] = [0x0]
Read VSC055_DDP[6] Register, returned value = [0x0]
ESA internal database, esaControl.vitesse.vsc055DDP[7] = [0x0]
Read VSC055_DDP[7] Register, returned value = [0x0]
Load PWM [25] Percent to Fan [0]
Load PWM [25] Percent to Fan [1]
Initialize VSC055_FSC[0] Register with value = [0x80]
Initialize VSC055_FSC[1] Register with value = [0x80]
Initialize VSC055_FSC[2] Register with value = [0x80]
Initialize VSC055_FSC[3] Register with value = [0x80]
Initialize VSC055_FSC[4] Register with value = [0x80]
Initialize VSC055_FSC[5] Register with value = [0x80]
Initialize VSC055_FSC[6] Register with value = [0x80]
Initialize VSC055_FSC[7] Register with value = [0x80]
Set the Alarm State to [IDEL_S0].
 = 0
i2cConnected 1
powerSupplyStatus 0x3
coolingElementOnOff 2 2 2 2 2 2 2 2
fanSpeedDivisor 1
fanPwmLoad 25 25 0 0 0 0 0 0
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0xFC 0x0 0x2F 0xFF
vitesse.vsc055DDP 0xFF 0x0 0xFF 0xF 0x30 0x10 0x0 0x0
vitesse.vsc055FSC 0x80 0x80 0x80 0x80 0x80 0x80 0x80 0x80
vitesse.vsc055PWMC 0x27 0x27 0x0 0x0 0x0 0x0 0x0 0x0
> sweep use xyratex | call init
1: R 63 10 ENXIO ends it = 1
2: W 63 10 ENXIO goes on = 0
3: R 63 10 ENXIO ends it = 1
4: W 63 11 ENXIO goes on = 0
5: R 63 11 ENXIO ends it = 1
6: W 63 12 ENXIO goes on = 0
7: R 63 12 ENXIO ends it = 1
8: W 63 13 ENXIO goes on = 0
9: R 63 13 ENXIO ends it = 1
10: W 63 14 ENXIO goes on = 0
11: R 63 14 ENXIO ends it = 1
12: W 63 15 ENXIO goes on = 0
13: R 63 15 ENXIO ends it = 1
14: W 63 16 ENXIO goes on = 0
15: R 63 16 ENXIO ends it = 1
16: W 63 17 ENXIO goes on = 0
17: R 63 17 ENXIO ends it = 1
18: W 63 98 ENXIO goes on = 0
38: W 63 05 ENXIO ends it = 0

== VSC055, and the custom variant of it
> hide bus; use vsc055; call init
Read I2C succeeds. I2C cable is connected
Set Backplane Alarm State to [MUTE_S3].
Setup the data direction for all VSC055 ports.
ESA internal database, esaControl.vitesse.vsc055DDP[0] = [0xff]
Read VSC055_DDP[0] Register, returned value = [0xff]
ESA internal database, esaControl.vitesse.vsc055DDP[1] = [0x0]
Read VSC055_DDP[1] Register, returned value = [0x0]
ESA internal database, esaControl.vitesse.vsc055DDP[2] = [0xff]
Read VSC055_DDP[2] Register, returned value = [0xff]
ESA internal database, esaControl.vitesse.vsc055DDP[3] = [0xff]
Read VSC055_DDP[3] Register, returned value = [0xff]
ESA internal database, esaControl.vitesse.vsc055DDP[4] = [0x80]
Read VSC055_DDP[4] Register, returned value = [0x80]
ESA internal database, esaControl.vitesse.vsc055DDP[5] = [0x0]
Read VSC055_DDP[5] Register, returned value = [0x0]
ESA internal database, esaControl.vitesse.vsc055DDP[6] = [0x0]
Read VSC055_DDP[6] Register, returned value = [0x0]
ESA internal database, esaControl.vitesse.vsc055DDP[7] = [0x0]
Read VSC055_DDP[7] Register, returned value = [0x0]
Read VSC055_GPD Register
Read VSC055_GPD[0] Register, returned value = [0x0]
Read VSC055_GPD[1] Register, returned value = [0x0]
Read VSC055_GPD[2] Register, returned value = [0x0]
Read VSC055_GPD[3] Register, returned value = [0x0]
Read VSC055_GPD[4] Register, returned value = [0xd0]
Read VSC055_GPD[5] Register, returned value = [0x0]
Read VSC055_GPD[6] Register, returned value = [0x0]
Read VSC055_GPD[7] Register, returned value = [0x0]
Read I2C succeeds. I2C cable is connected
Read I2C succeeds. I2C cable is connected
Load PWM [50] Percent to Fan [0]
Load PWM [50] Percent to Fan [1]
Load PWM [50] Percent to Fan [2]
Initialize vsc055FSC[0] Register with value = [0x81]
Initialize vsc055FSC[1] Register with value = [0x81]
Initialize vsc055FSC[2] Register with value = [0x81]
 = 0
i2cConnected 1
powerSupplyStatus 0x3
coolingElementOnOff 2 2 2 0 0 0 0 0
fanPwmLoad 50 50 50 0 0 0 0 0
alarmState 3
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x50 0x0 0xFF 0xFF
vitesse.vsc055DDP 0xFF 0x0 0xFF 0xFF 0x80 0x0 0x0 0x0
vitesse.vsc055FSC 0x81 0x81 0x81 0x0 0x0 0x0 0x0 0x0
vitesse.vsc055PWMC 0x2F 0x2F 0x2F 0x0 0x0 0x0 0x0 0x0
> sweep use vsc055 | call init
1: R 41 10 ENXIO ends it = 1
2: W 41 04 ENXIO goes on = 0
4: R 41 10 ENXIO ends it = 1
5: W 41 11 ENXIO goes on = 0
6: R 41 11 ENXIO ends it = 1
7: W 41 12 ENXIO goes on = 0
8: R 41 12 ENXIO ends it = 1
9: W 41 13 ENXIO goes on = 0
10: R 41 13 ENXIO ends it = 1
11: W 41 14 ENXIO goes on = 0
12: R 41 14 ENXIO ends it = 1
13: W 41 15 ENXIO goes on = 0
14: R 41 15 ENXIO ends it = 1
15: W 41 16 ENXIO goes on = 0
16: R 41 16 ENXIO ends it = 1
17: W 41 17 ENXIO goes on = 0
18: R 41 17 ENXIO ends it = 1
29: W 41 98 ENXIO goes on = 0
40: W 41 38 ENXIO ends it = 0
> sweep use vsc055, set enclosureType 3 | call init
1: R 41 10 ENXIO ends it = 1
2: W 41 04 ENXIO goes on = 0
4: R 41 10 ENXIO ends it = 1
5: W 41 11 ENXIO goes on = 0
6: R 41 11 ENXIO ends it = 1
7: W 41 12 ENXIO goes on = 0
8: R 41 12 ENXIO ends it = 1
9: W 41 13 ENXIO goes on = 0
10: R 41 13 ENXIO ends it = 1
11: W 41 14 ENXIO goes on = 0
12: R 41 14 ENXIO ends it = 1
13: W 41 15 ENXIO goes on = 0
14: R 41 15 ENXIO ends it = 1
15: W 41 16 ENXIO goes on = 0
16: R 41 16 ENXIO ends it = 1
17: W 41 17 ENXIO goes on = 0
18: R 41 17 ENXIO ends it = 1
29: W 41 98 ENXIO goes on = 0
40: W 41 38 ENXIO ends it = 0
# The lamp test drives all LEDs of a small chassis, too; counts above the arrays stay inside them.
> hide log; show bus; use vsc055; reg 4A 00 19; reg 4D 00 19; reg 4E 00 19; reg 4F 00 19; reg 00 00 19; set deviceMaxNumber 4; set coolingMaxNumber 255; set temperatureSensorMaxNumber 255; call init
R 41 10=FF
W 41 04=50
W 41 10=FF
R 41 10=FF
W 41 11=00
R 41 11=00
W 41 12=FF
R 41 12=FF
W 41 13=FF
R 41 13=FF
W 41 14=80
R 41 14=80
W 41 15=00
R 41 15=00
W 41 16=00
R 41 16=00
W 41 17=00
R 41 17=00
R 41 00=00
R 41 01=00
R 41 02=00
R 41 03=00
R 41 04=D0
R 41 05=00
R 41 06=FF
R 41 07=FF
R 4C 00=19
R 4B 00=19
R 4A 00=19
R 4D 00=19
R 4E 00=19
R 4F 00=19
R 00 00=19
R 00 00=19
W 41 98=2F
W 41 99=2F
W 41 9A=2F
W 41 9B=2F
W 41 9C=2F
W 41 9D=2F
W 41 9E=2F
W 41 9F=2F
W 41 06=FF
W 41 07=FF
W 41 06=00
W 41 07=00
sleep 138
W 41 06=FF
W 41 07=FF
W 41 30=81
W 41 34=81
W 41 38=81
W 41 3C=81
W 41 40=81
W 41 44=81
W 41 48=81
W 41 4C=81
 = 0
i2cConnected 1
powerSupplyStatus 0x3
coolingElementOnOff 2 2 2 2 2 2 2 2
fanPwmLoad 50 50 50 50 50 50 50 50
alarmState 3
vitesse.vsc055GPD 0x0 0x0 0x0 0x0 0x50 0x0 0xFF 0xFF
vitesse.vsc055DDP 0xFF 0x0 0xFF 0xFF 0x80 0x0 0x0 0x0
vitesse.vsc055FSC 0x81 0x81 0x81 0x81 0x81 0x81 0x81 0x81
vitesse.vsc055PWMC 0x2F 0x2F 0x2F 0x2F 0x2F 0x2F 0x2F 0x2F

== W83792AD
> hide bus; use w83792ad; call init
Read I2C succeeds. I2C cable is connected
Set Vcorea High Limit = [255]
Set Vcorea Low Limit = [1]
Set Vcoreb High Limit = [255]
Set Vcoreb Low Limit = [1]
Set Vin0 High Limit = [255]
Set VIN0 Low Limit = [1]
Set Vin1 High Limit = [255]
Set VIN1 Low Limit = [1]
Set Vin2 High Limit = [255]
Set VIN2 Low Limit = [1]
Set Vin3 High Limit = [255]
Set VIN3 Low Limit = [1]
Set +5VCC High Limit = [255]
Set +5VCC Low Limit = [1]
Set Temperature Sensor1 High Limit = [60]
Set Temperature Sensor1 Low Limit = [1]
Set Fan1 Count High Limit = [255]
Set Fan2 Count High Limit = [255]
Set Fan3 Count High Limit = [255]
Load PWM Winbond[8] Percent to Fan [0]
Load PWM Winbond[8] Percent to Fan [1]
Load PWM Winbond[8] Percent to Fan [2]
Load PWM Winbond[8] Percent to Fan [3]
Load PWM Winbond[8] Percent to Fan [4]
Load PWM Winbond[8] Percent to Fan [5]
Set Backplane Alarm State to [MUTE_S3].
Finish the initialization for the W83792AD guideline based enclosure.
Finish the initialization for the PCA9539.
 = 0
i2cConnected 1
powerSupplyStatus 0x1
coolingElementOnOff 2 2 2 2 2 2 0 0
fanPwmLoad 50 50 50 50 50 50 0 0
alarmState 3
> sweep use w83792ad | call init
1: R 2C 48 ENXIO ends it = 1
2: W 2C 2B ENXIO ends it = -1
21: W 2C 4B ENXIO ends it = -1, Setting smiOvtPropertyRegister on W83792AD failed
23: W 2C 1A ENXIO ends it = -1, Setting gpioEnableRegister on W83792AD failed
24: W 2C 1B ENXIO ends it = -1, Setting gpioaOutputControlRegister on W83792AD failed
25: W 2C 1C ENXIO ends it = -1, Setting gpioaDataStatusRegister on W83792AD failed
26: W 2C 1D ENXIO ends it = -1, Setting gpiobOutputControlRegister on W83792AD failed
27: W 2C 1E ENXIO ends it = -1, Setting gpiobDataStatusRegister on W83792AD failed
28: W 2C 47 ENXIO ends it = -1, Setting fanDivisor1Register on W83792AD failed
29: W 2C 5B ENXIO ends it = -1, Setting fanDivisor2Register on W83792AD failed
30: W 2C 5C ENXIO ends it = -1, Setting fanDivisor3Register on W83792AD failed
31: W 2C 80 ENXIO ends it = -1, Setting fanPreScaleRegister on W83792AD failed
37: W 2C 81 ENXIO goes on = 0
43: W 2C 4A ENXIO ends it = -1, Setting temperature23SerialBusAddressRegister on W83792AD failed
44: W 2C 59 ENXIO ends it = -1, Setting thermalDiodeSelectRegister on W83792AD failed
45: W 74 06 ENXIO ends it = -1, Setting pca9539.configurationPort0Register on PCA9539 failed
46: W 74 07 ENXIO ends it = -1, Setting pca9539.configurationPort1Register on PCA9539 failed
# Three bits of the divisor reach the chip; the limit is cut to its register.
> hide log fields; show bus; use w83792ad; set fanSpeedDivisor 12; set overheatTemperatureLimit 300; set coolingMaxNumber 255; call init
R 2C 48=2C
W 2C 2B=FF
W 2C 2C=01
W 2C 2D=FF
W 2C 2E=01
W 2C 2F=FF
W 2C 30=01
W 2C 31=FF
W 2C 32=01
W 2C 33=FF
W 2C 34=01
W 2C 35=FF
W 2C 36=01
W 2C 37=FF
W 2C 38=01
W 2C 39=2C
W 2C 3A=01
W 2C 3B=FF
W 2C 3C=FF
W 2C 3D=FF
W 2C 4B=40
W 2C 4C=01
W 2C 1A=1E
W 2C 1B=45
W 2C 1C=40
W 2C 1D=00
W 2C 1E=00
W 2C 47=CC
W 2C 5B=CC
W 2C 5C=CC
W 2C 80=83
W 2C 82=83
W 2C 93=83
W 2C A0=83
W 2C A1=83
W 2C A2=83
W 2C 81=88
W 2C 83=88
W 2C 94=88
W 2C A3=88
W 2C A4=88
W 2C A5=88
W 2C 4A=88
W 2C 59=00
W 74 06=00
W 74 07=00
 = 0

== W83782D
> hide bus; use w83782d; call init
Read I2C succeeds. I2C cable is connected
Set Vcorea High Limit = [255]
Set Vcorea Low Limit = [1]
Set Vinr0 High Limit = [255]
Set Vinr0 Low Limit = [1]
Set +3.3Vin High Limit = [255]
Set +3.3Vin Low Limit = [1]
+5Vin High Limit = [255]
Set +5Vin Low Limit = [1]
Set +12Vin High Limit = [255]
Set +12Vin Low Limit = [1]
Set -12Vin High Limit = [255]
Set -12Vin Low Limit = [1]
Set -5Vin High Limit = [255]
Set -5Vin Low Limit = [1]
Load PWM Winbond[255] Percent to Fan [0]
Load PWM Winbond[255] Percent to Fan [1]
Load PWM Winbond[255] Percent to Fan [2]
Set Backplane Alarm State to [MUTE_S3].
Finish the initialization for the W83782D guideline based enclosure.
 = 0
i2cConnected 1
elementTypeMaxNumber 5
deviceMaxNumber 16
powerSupplyMaxNumber 2
coolingMaxNumber 3
temperatureSensorMaxNumber 3
powerSupplyStatus 0x1
coolingElementOnOff 2 2 2 0 0 0 0 0
fanFaultRpmLimit 500
fanPwmLoad 100 100 100 0 0 0 0 0
overheatTemperatureLimit 60
fanPwm25To50TemperatureThreshold 35
fanPwm50To75TemperatureThreshold 38
fanPwm75To100TemperatureThreshold 40
fanPwm100To75TemperatureThreshold 35
fanPwm75To50TemperatureThreshold 34
fanPwm50To25TemperatureThreshold 32
alarmState 3
winbond[0] FF01FF01 FF01FF01 FF01FF01 FF013C7F 412D95FF FFFF00
> sweep use w83782d | call init
1: R 2D 48 ENXIO ends it = 1
2: W 2D 2B ENXIO ends it = -1
16: W 2D 5B ENXIO goes on = 0
19: W 2D 39 ENXIO ends it = -1, Setting temperatureSensor1HighLimitRegister on Backplane [0] failed
20: W 2D 3A ENXIO ends it = -1, Setting temperatureSensor1HysteresisRegister on Backplane [0] failed
21: R 2D 4D ENXIO ends it = -1, Setting fanInOutBeepGpoRegister on Backplane [0] failed
23: W 2D 40 ENXIO ends it = 0
# Counts are those of its own chassis type only.
> hide log; use w83782d; set enclosureType 4; call esaW83782dInit
 = 0
i2cConnected 1
powerSupplyStatus 0x1
fanFaultRpmLimit 500
overheatTemperatureLimit 60
fanPwm25To50TemperatureThreshold 35
fanPwm50To75TemperatureThreshold 38
fanPwm75To100TemperatureThreshold 40
fanPwm100To75TemperatureThreshold 35
fanPwm75To50TemperatureThreshold 34
fanPwm50To25TemperatureThreshold 32
alarmState 3
winbond[0] FF01FF01 FF01FF01 FF01FF01 FF013C7F 412D9500 000000

== Chenbro
> hide bus; use chenbro; call init
Read I2C succeeds. I2C cable is connected
Read I2C succeeds. I2C cable is connected
Read I2C succeeds. I2C cable is connected
Read I2C succeeds. I2C cable is connected
Chenbro Backplane [0], ESA_K_W83782D_VCOREA_READING_REG = [80]
Chenbro Backplane [0], ESA_K_W83782D_VINR0_READING_REG = [81]
Chenbro Backplane [0], ESA_K_W83782D_POSITIVE_3_3VIN_READING_REG = [206]
Chenbro Backplane [0], ESA_K_W83782D_POSITIVE_5VIN_READING_REG = [186]
Chenbro Backplane [0], ESA_K_W83782D_POSITIVE_12VIN_READING_REG = [198]
Chenbro Backplane [0], ESA_K_W83782D_NEGATIVE_12VIN_READING_REG = [33]
Chenbro Backplane [0], ESA_K_W83782D_NEGATIVE_5VIN_READING_REG = [53]
Chenbro Backplane [0], ESA_K_W83782D_TEMPERATURE_READING_REG = [25]
Chenbro Backplane [0], ESA_K_W83782D_FAN1_READING_REG = [135]
Chenbro Backplane [0], ESA_K_W83782D_FAN2_READING_REG = [135]
Chenbro Backplane [0], ESA_K_W83782D_FAN3_READING_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_VCOREA_HIGH_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_VCOREA_LOW_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_VINR0_HIGH_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_VINR0_LOW_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_POSITIVE_3_3VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_POSITIVE_3_3VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_POSITIVE_5VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_POSITIVE_5VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_POSITIVE_12VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_POSITIVE_12VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_NEGATIVE_12VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_NEGATIVE_12VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_NEGATIVE_5VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_NEGATIVE_5VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_TEMPERATURE_SENSOR1_HIGH_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_TEMPERATURE_SENSOR1_HYSTERESIS_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_FAN1_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_FAN2_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [0], ESA_K_W83782D_FAN3_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [0], configurationRegister = [1]
Chenbro Backplane [1], ESA_K_W83782D_VCOREA_READING_REG = [80]
Chenbro Backplane [1], ESA_K_W83782D_VINR0_READING_REG = [81]
Chenbro Backplane [1], ESA_K_W83782D_POSITIVE_3_3VIN_READING_REG = [206]
Chenbro Backplane [1], ESA_K_W83782D_POSITIVE_5VIN_READING_REG = [186]
Chenbro Backplane [1], ESA_K_W83782D_POSITIVE_12VIN_READING_REG = [198]
Chenbro Backplane [1], ESA_K_W83782D_NEGATIVE_12VIN_READING_REG = [33]
Chenbro Backplane [1], ESA_K_W83782D_NEGATIVE_5VIN_READING_REG = [53]
Chenbro Backplane [1], ESA_K_W83782D_TEMPERATURE_READING_REG = [26]
Chenbro Backplane [1], ESA_K_W83782D_FAN1_READING_REG = [135]
Chenbro Backplane [1], ESA_K_W83782D_FAN2_READING_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_FAN3_READING_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_VCOREA_HIGH_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_VCOREA_LOW_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_VINR0_HIGH_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_VINR0_LOW_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_POSITIVE_3_3VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_POSITIVE_3_3VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_POSITIVE_5VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_POSITIVE_5VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_POSITIVE_12VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_POSITIVE_12VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_NEGATIVE_12VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_NEGATIVE_12VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_NEGATIVE_5VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_NEGATIVE_5VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_TEMPERATURE_SENSOR1_HIGH_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_TEMPERATURE_SENSOR1_HYSTERESIS_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_FAN1_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_FAN2_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [1], ESA_K_W83782D_FAN3_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [1], configurationRegister = [1]
Chenbro Backplane [2], ESA_K_W83782D_VCOREA_READING_REG = [80]
Chenbro Backplane [2], ESA_K_W83782D_VINR0_READING_REG = [81]
Chenbro Backplane [2], ESA_K_W83782D_POSITIVE_3_3VIN_READING_REG = [206]
Chenbro Backplane [2], ESA_K_W83782D_POSITIVE_5VIN_READING_REG = [186]
Chenbro Backplane [2], ESA_K_W83782D_POSITIVE_12VIN_READING_REG = [198]
Chenbro Backplane [2], ESA_K_W83782D_NEGATIVE_12VIN_READING_REG = [33]
Chenbro Backplane [2], ESA_K_W83782D_NEGATIVE_5VIN_READING_REG = [53]
Chenbro Backplane [2], ESA_K_W83782D_TEMPERATURE_READING_REG = [27]
Chenbro Backplane [2], ESA_K_W83782D_FAN1_READING_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_FAN2_READING_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_FAN3_READING_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_VCOREA_HIGH_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_VCOREA_LOW_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_VINR0_HIGH_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_VINR0_LOW_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_POSITIVE_3_3VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_POSITIVE_3_3VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_POSITIVE_5VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_POSITIVE_5VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_POSITIVE_12VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_POSITIVE_12VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_NEGATIVE_12VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_NEGATIVE_12VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_NEGATIVE_5VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_NEGATIVE_5VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_TEMPERATURE_SENSOR1_HIGH_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_TEMPERATURE_SENSOR1_HYSTERESIS_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_FAN1_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_FAN2_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [2], ESA_K_W83782D_FAN3_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [2], configurationRegister = [1]
Chenbro Backplane [3], ESA_K_W83782D_VCOREA_READING_REG = [80]
Chenbro Backplane [3], ESA_K_W83782D_VINR0_READING_REG = [81]
Chenbro Backplane [3], ESA_K_W83782D_POSITIVE_3_3VIN_READING_REG = [206]
Chenbro Backplane [3], ESA_K_W83782D_POSITIVE_5VIN_READING_REG = [186]
Chenbro Backplane [3], ESA_K_W83782D_POSITIVE_12VIN_READING_REG = [198]
Chenbro Backplane [3], ESA_K_W83782D_NEGATIVE_12VIN_READING_REG = [33]
Chenbro Backplane [3], ESA_K_W83782D_NEGATIVE_5VIN_READING_REG = [53]
Chenbro Backplane [3], ESA_K_W83782D_TEMPERATURE_READING_REG = [28]
Chenbro Backplane [3], ESA_K_W83782D_FAN1_READING_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_FAN2_READING_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_FAN3_READING_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_VCOREA_HIGH_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_VCOREA_LOW_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_VINR0_HIGH_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_VINR0_LOW_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_POSITIVE_3_3VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_POSITIVE_3_3VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_POSITIVE_5VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_POSITIVE_5VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_POSITIVE_12VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_POSITIVE_12VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_NEGATIVE_12VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_NEGATIVE_12VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_NEGATIVE_5VIN_HIGH_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_NEGATIVE_5VIN_LOW_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_TEMPERATURE_SENSOR1_HIGH_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_TEMPERATURE_SENSOR1_HYSTERESIS_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_FAN1_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_FAN2_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [3], ESA_K_W83782D_FAN3_FAN_COUNT_LIMIT_REG = [0]
Chenbro Backplane [3], configurationRegister = [1]
Set Vcorea High Limit = [255]
Set Vcorea Low Limit = [1]
Set Vinr0 High Limit = [255]
Set Vinr0 Low Limit = [1]
Set +3.3Vin High Limit = [255]
Set +3.3Vin Low Limit = [1]
+5Vin High Limit = [255]
Set +5Vin Low Limit = [1]
Set +12Vin High Limit = [255]
Set +12Vin Low Limit = [1]
Set -12Vin High Limit = [255]
Set -12Vin Low Limit = [1]
Set -5Vin High Limit = [255]
Set -5Vin Low Limit = [1]
Set Vcorea High Limit = [255]
Set Vcorea Low Limit = [1]
Set Vinr0 High Limit = [255]
Set Vinr0 Low Limit = [1]
Set +3.3Vin High Limit = [255]
Set +3.3Vin Low Limit = [1]
+5Vin High Limit = [255]
Set +5Vin Low Limit = [1]
Set +12Vin High Limit = [255]
Set +12Vin Low Limit = [1]
Set -12Vin High Limit = [255]
Set -12Vin Low Limit = [1]
Set -5Vin High Limit = [255]
Set -5Vin Low Limit = [1]
Set Vcorea High Limit = [255]
Set Vcorea Low Limit = [1]
Set Vinr0 High Limit = [255]
Set Vinr0 Low Limit = [1]
Set +3.3Vin High Limit = [255]
Set +3.3Vin Low Limit = [1]
+5Vin High Limit = [255]
Set +5Vin Low Limit = [1]
Set +12Vin High Limit = [255]
Set +12Vin Low Limit = [1]
Set -12Vin High Limit = [255]
Set -12Vin Low Limit = [1]
Set -5Vin High Limit = [255]
Set -5Vin Low Limit = [1]
Set Vcorea High Limit = [255]
Set Vcorea Low Limit = [1]
Set Vinr0 High Limit = [255]
Set Vinr0 Low Limit = [1]
Set +3.3Vin High Limit = [255]
Set +3.3Vin Low Limit = [1]
+5Vin High Limit = [255]
Set +5Vin Low Limit = [1]
Set +12Vin High Limit = [255]
Set +12Vin Low Limit = [1]
Set -12Vin High Limit = [255]
Set -12Vin Low Limit = [1]
Set -5Vin High Limit = [255]
Set -5Vin Low Limit = [1]
Load PWM Esa[50] Percent to Fan [0]
Load PWM Winbond[128] Percent to Fan [0]
Load PWM Esa[50] Percent to Fan [1]
Load PWM Winbond[128] Percent to Fan [1]
Load PWM Esa[50] Percent to Fan [2]
Load PWM Winbond[128] Percent to Fan [0]
Load PWM Esa[50] Percent to Fan [3]
Load PWM Winbond[128] Percent to Fan [0]
Load PWM Esa[50] Percent to Fan [4]
Load PWM Winbond[128] Percent to Fan [0]
Load PWM Esa[50] Percent to Fan [5]
Load PWM Winbond[128] Percent to Fan [1]
Set Backplane Alarm State to [MUTE_S3].
Set Backplane Alarm State to [MUTE_S3].
Set Backplane Alarm State to [MUTE_S3].
Set Backplane Alarm State to [MUTE_S3].
Finish the Chenbro initialization.
 = 0
i2cConnected 1
elementTypeMaxNumber 5
deviceMaxNumber 16
powerSupplyMaxNumber 3
coolingMaxNumber 6
temperatureSensorMaxNumber 4
powerSupplyStatus 0x1
coolingElementOnOff 2 2 2 2 2 2 0 0
fanFaultRpmLimit 500
fanPwmLoad 50 50 50 50 50 50 0 0
alarmState 3
winbond[0] FF01FF01 FF01FF01 FF01FF01 FF013C7F 41289080 800000
winbond[1] FF01FF01 FF01FF01 FF01FF01 FF013C7F 412A9100 800000
winbond[2] FF01FF01 FF01FF01 FF01FF01 FF013C7F 412C9200 800000
winbond[3] FF01FF01 FF01FF01 FF01FF01 FF013C7F 41309380 800000
> sweep use chenbro | call init
1: R 28 48 ENXIO ends it = 1
5: R 28 20 ENXIO goes on = 0
129: W 28 2B ENXIO ends it = -1
185: W 28 5B ENXIO goes on = 0
191: W 28 39 ENXIO ends it = -1, Setting temperatureSensor1HighLimitRegister on Backplane [0] failed
192: W 28 3A ENXIO ends it = -1, Setting temperatureSensor1HysteresisRegister on Backplane [0] failed
193: R 28 4D ENXIO ends it = -1, Reading fanInOutBeepGpoRegister on Backplane [0] failed
194: W 28 4D ENXIO ends it = -1, Setting fanInOutBeepGpoRegister on Backplane [0] failed
195: W 2A 39 ENXIO ends it = -1, Setting temperatureSensor1HighLimitRegister on Backplane [1] failed
196: W 2A 3A ENXIO ends it = -1, Setting temperatureSensor1HysteresisRegister on Backplane [1] failed
197: R 2A 4D ENXIO ends it = -1, Reading fanInOutBeepGpoRegister on Backplane [1] failed
198: W 2A 4D ENXIO ends it = -1, Setting fanInOutBeepGpoRegister on Backplane [1] failed
199: W 2C 39 ENXIO ends it = -1, Setting temperatureSensor1HighLimitRegister on Backplane [2] failed
200: W 2C 3A ENXIO ends it = -1, Setting temperatureSensor1HysteresisRegister on Backplane [2] failed
201: R 2C 4D ENXIO ends it = -1, Reading fanInOutBeepGpoRegister on Backplane [2] failed
202: W 2C 4D ENXIO ends it = -1, Setting fanInOutBeepGpoRegister on Backplane [2] failed
203: W 30 39 ENXIO ends it = -1, Setting temperatureSensor1HighLimitRegister on Backplane [3] failed
204: W 30 3A ENXIO ends it = -1, Setting temperatureSensor1HysteresisRegister on Backplane [3] failed
205: R 30 4D ENXIO ends it = -1, Reading fanInOutBeepGpoRegister on Backplane [3] failed
206: W 30 4D ENXIO ends it = -1, Setting fanInOutBeepGpoRegister on Backplane [3] failed
207: W 28 40 ENXIO goes on = 0
210: W 30 40 ENXIO ends it = 0

== Missing devices are reported as the chassis does
> hide bus fields; use xyratex; cut 0x63; call init
Read I2C fails. I2C cable is not connected or wrong enclosure type.
Now marking Fault on I2C Device with Address [0x63].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
led     composite fault LED on
mail    e-mail notification
event   device VSC055: warning, enclosure Xyratex 2U12ATX, does not answer
 = 1
> use vsc055; cut 0x41; call init
Read I2C fails. I2C cable is not connected or wrong enclosure type.
Now marking Fault on I2C Device with Address [0x41].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
led     composite fault LED on
mail    e-mail notification
event   enclosure bus: warning, enclosure VSC055, does not answer
 = 1
> mend all; use vsc055; cut 0x4B; call init
Read I2C succeeds. I2C cable is connected
Set Backplane Alarm State to [MUTE_S3].
Setup the data direction for all VSC055 ports.
ESA internal database, esaControl.vitesse.vsc055DDP[0] = [0xff]
Read VSC055_DDP[0] Register, returned value = [0xff]
ESA internal database, esaControl.vitesse.vsc055DDP[1] = [0x0]
Read VSC055_DDP[1] Register, returned value = [0x0]
ESA internal database, esaControl.vitesse.vsc055DDP[2] = [0xff]
Read VSC055_DDP[2] Register, returned value = [0xff]
ESA internal database, esaControl.vitesse.vsc055DDP[3] = [0xff]
Read VSC055_DDP[3] Register, returned value = [0xff]
ESA internal database, esaControl.vitesse.vsc055DDP[4] = [0x80]
Read VSC055_DDP[4] Register, returned value = [0x80]
ESA internal database, esaControl.vitesse.vsc055DDP[5] = [0x0]
Read VSC055_DDP[5] Register, returned value = [0x0]
ESA internal database, esaControl.vitesse.vsc055DDP[6] = [0x0]
Read VSC055_DDP[6] Register, returned value = [0x0]
ESA internal database, esaControl.vitesse.vsc055DDP[7] = [0x0]
Read VSC055_DDP[7] Register, returned value = [0x0]
Read VSC055_GPD Register
Read VSC055_GPD[0] Register, returned value = [0x0]
Read VSC055_GPD[1] Register, returned value = [0x0]
Read VSC055_GPD[2] Register, returned value = [0x0]
Read VSC055_GPD[3] Register, returned value = [0x0]
Read VSC055_GPD[4] Register, returned value = [0xd0]
Read VSC055_GPD[5] Register, returned value = [0x0]
Read VSC055_GPD[6] Register, returned value = [0x0]
Read VSC055_GPD[7] Register, returned value = [0x0]
Read I2C succeeds. I2C cable is connected
Read I2C fails with LM75 Address [0x4b]. I2C cable is not connected or wrong enclosure type.
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Set Backplane Alarm State to [FAULT_S1].
Send Email Notification MMSG To Startup.
Now marking Fault on I2C Device with Address [0x4b].
led     composite fault LED on
mail    e-mail notification
event   enclosure bus: warning, enclosure VSC055, does not answer
 = 1
> mend all; use w83792ad; cut 0x2C; call init
Read I2C address [0x2c] fails. I2C cable is not connected or wrong enclosure type on Backplane.
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
event   device W83792AD: warning, enclosure W83792AD, does not answer
led     composite fault LED on
mail    e-mail notification
 = 1
> mend all; use w83782d; cut 0x2D; call init
Read I2C address [0x2d] fails. I2C cable is not connected or wrong enclosure type on Backplane[0].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
event   device W83782D: warning, enclosure W83782D, does not answer
led     composite fault LED on
mail    e-mail notification
 = 1
> mend all; use chenbro; cut 0x28; call init
Read I2C address [0x28] fails. I2C cable is not connected or wrong enclosure type on Backplane[0].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
event   device W83782D: warning, enclosure Chenbro 3U16ATX, does not answer
led     composite fault LED on
mail    e-mail notification
 = 1
> mend all; use chenbro; cut 0x2C; call init
Read I2C succeeds. I2C cable is connected
Read I2C succeeds. I2C cable is connected
Read I2C address [0x2c] fails. I2C cable is not connected or wrong enclosure type on Backplane[2].
This Fault bit is [I2C_BUS_FAULT]
This Fault bit [0x10] does NOT exist currently.
Set the new Fault bit [0x10].
Turn on the Composite Fault LED.
[Set] Composite Fault LED in Startup.
Send Email Notification MMSG To Startup.
event   device W83782D: warning, enclosure Chenbro 3U16ATX, does not answer
led     composite fault LED on
mail    e-mail notification
 = 1

== Counts above the arrays: a poll and a page go as far as the arrays
> hide log messages fields; up xyratex; set coolingMaxNumber 255; set temperatureSensorMaxNumber 255; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; call poll; page
R 63 04=FC
R 63 04=FC
W 63 05=00
R 63 05=00
W 63 05=01
R 63 05=01
W 63 05=02
R 63 05=02
R 63 32=F0
R 63 36=F0
R 63 3A=F0
R 63 3E=F0
R 63 42=F0
R 63 46=F0
R 63 4A=F0
R 63 4E=F0
R 4C 00=19
R 4C 00=19
R 4D 00=1A
R 4D 00=1A
W 63 05=00
R 63 05=00
W 63 05=01
R 63 05=01
W 63 05=02
R 63 05=02
R 63 32=F0
R 63 36=F0
R 63 3A=F0
R 63 3E=F0
R 63 42=F0
R 63 46=F0
R 63 4A=F0
R 63 4E=F0
R 4C 00=19
R 4C 00=19
R 4D 00=1A
R 4D 00=1A
W 63 05=00
R 63 05=00
W 63 05=01
R 63 05=01
W 63 05=02
R 63 05=02
> up vsc055; set coolingMaxNumber 255; set temperatureSensorMaxNumber 44; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; call poll; page
R 41 04=D0
R 41 32=78
R 41 36=78
R 41 3A=78
R 41 3E=00
R 41 42=00
R 41 46=00
R 41 4A=00
R 41 4E=00
R 4C 00=19
R 4C 00=19
R 4B 00=19
R 4B 00=19
R 4A 00 ENXIO
R 4D 00=1A
R 4D 00=1A
R 4E 00 ENXIO
R 4F 00 ENXIO
R 00 00 ENXIO
R 00 00 ENXIO
W 41 98=3F
W 41 99=3F
W 41 9A=3F
W 41 9B=3F
W 41 9C=3F
W 41 9D=3F
W 41 9E=3F
W 41 9F=3F
R 41 32=78
R 41 36=78
R 41 3A=78
R 41 3E=00
R 41 42=00
R 41 46=00
R 41 4A=00
R 41 4E=00
R 4C 00=19
R 4C 00=19
R 4B 00=19
R 4B 00=19
R 4A 00 ENXIO
R 4D 00=1A
R 4D 00=1A
R 4E 00 ENXIO
R 4F 00 ENXIO
R 00 00 ENXIO
R 00 00 ENXIO
> up chenbro; set coolingMaxNumber 255; set temperatureSensorMaxNumber 44; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; call poll; page
R 28 20=50
R 28 21=51
R 28 22=CE
R 28 23=BA
R 28 24=C6
R 28 25=21
R 28 26=35
R 2A 20=50
R 2A 21=51
R 2A 22=CE
R 2A 23=BA
R 2A 24=C6
R 2A 25=21
R 2A 26=35
R 2C 20=50
R 2C 21=51
R 2C 22=CE
R 2C 23=BA
R 2C 24=C6
R 2C 25=21
R 2C 26=35
R 30 20=50
R 30 21=51
R 30 22=CE
R 30 23=BA
R 30 24=C6
R 30 25=21
R 30 26=35
R 28 28=87
R 28 29=87
R 29 28=87
R 2A 28=87
R 2B 28=87
R 2B 29=87
W 28 40=01
W 2A 40=01
W 2C 40=01
W 30 40=01
R 28 27=19
R 2A 27=1A
R 2C 27=1B
R 30 27=1C
W 28 5B=FF
W 28 5A=FF
W 29 5B=FF
W 2A 5B=FF
W 2B 5B=FF
W 2B 5A=FF
R 28 28=87
R 28 29=87
R 29 28=87
R 2A 28=87
R 2B 28=87
R 2B 29=87
R 28 27=19
R 2A 27=1A
R 2C 27=1B
R 30 27=1C
> up w83782d; set coolingMaxNumber 44; set temperatureSensorMaxNumber 255; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; call poll; page
R 2D 20=50
R 2D 21=51
R 2D 22=CE
R 2D 23=BA
R 2D 24=C6
R 2D 25=21
R 2D 26=35
R 2D 28=87
R 2D 29=87
R 2D 2A=87
W 2D 40=01
R 2D 27=19
R 2D 28=87
R 2D 29=87
R 2D 2A=87
R 2D 27=19
> up w83792ad; set coolingMaxNumber 44; set temperatureSensorMaxNumber 255; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; call poll; page
R 2C 1C=C0
R 2C 20=A0
R 2C 3E=E4
R 2C 21=A1
R 2C 3E=E4
R 2C 22=A2
R 2C 3E=E4
R 2C 23=A3
R 2C 3E=E4
R 2C 24=A4
R 2C 3F=1B
R 2C 25=A5
R 2C 3F=1B
R 2C 26=D0
R 2C 3F=1B
R 2C 28=87
R 2C 29=87
R 2C 2A=87
R 2C B8=87
R 2C B9=87
R 2C BA=87
R 2C 27=19
R 2C C1=80
R 2C C0=1A
R 2C C9=00
R 2C C8=1B
W 2C 81=8F
W 2C 83=8F
W 2C 94=8F
W 2C A3=8F
W 2C A4=8F
W 2C A5=8F
R 2C 28=87
R 2C 29=87
R 2C 2A=87
R 2C B8=87
R 2C B9=87
R 2C BA=87
R 2C 27=19
R 2C C1=80
R 2C C0=1A
R 2C C9=00
R 2C C8=1B
# What the chips do not have is said for the places of the arrays, and no more.
> show log; hide bus page; use w83792ad; set coolingMaxNumber 255; call init
Read I2C succeeds. I2C cable is connected
Set Vcorea High Limit = [255]
Set Vcorea Low Limit = [1]
Set Vcoreb High Limit = [255]
Set Vcoreb Low Limit = [1]
Set Vin0 High Limit = [255]
Set VIN0 Low Limit = [1]
Set Vin1 High Limit = [255]
Set VIN1 Low Limit = [1]
Set Vin2 High Limit = [255]
Set VIN2 Low Limit = [1]
Set Vin3 High Limit = [255]
Set VIN3 Low Limit = [1]
Set +5VCC High Limit = [255]
Set +5VCC Low Limit = [1]
Set Temperature Sensor1 High Limit = [60]
Set Temperature Sensor1 Low Limit = [1]
Set Fan1 Count High Limit = [255]
Set Fan2 Count High Limit = [255]
Set Fan3 Count High Limit = [255]
Load PWM Winbond[8] Percent to Fan [0]
Load PWM Winbond[8] Percent to Fan [1]
Load PWM Winbond[8] Percent to Fan [2]
Load PWM Winbond[8] Percent to Fan [3]
Load PWM Winbond[8] Percent to Fan [4]
Load PWM Winbond[8] Percent to Fan [5]
Load PWM Winbond[8] Percent to Fan [6]
The Fan index [6] is not supported.
Load PWM Winbond[8] Percent to Fan [7]
The Fan index [7] is not supported.
Set Backplane Alarm State to [MUTE_S3].
Finish the initialization for the W83792AD guideline based enclosure.
Finish the initialization for the PCA9539.
 = 0
> set temperatureSensorMaxNumber 255; set coolingMaxNumber 0; call poll; page
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
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
Temperature Sensor [0] for I2C address [0x2c] = [25] degrees Celsius.
temperatureSensor[0] = [25] degrees Celsius.
Temperature Sensor [1] for I2C address [0x2c] = [26] degrees Celsius.
temperatureSensor[1] = [26] degrees Celsius.
Temperature Sensor [2] for I2C address [0x2c] = [27] degrees Celsius.
temperatureSensor[2] = [27] degrees Celsius.
temperatureSensor[3] = [32767] degrees Celsius.
temperatureSensor[4] = [32767] degrees Celsius.
temperatureSensor[5] = [32767] degrees Celsius.
temperatureSensor[6] = [32767] degrees Celsius.
temperatureSensor[7] = [32767] degrees Celsius.
temperatureSensorAverage = [26] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
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
Temperature Sensor [0] for I2C address [0x2c] = [25] degrees Celsius.
Temperature Sensor [1] for I2C address [0x2c] = [26] degrees Celsius.
Temperature Sensor [2] for I2C address [0x2c] = [27] degrees Celsius.
Send out a Diagnostic Page.
> use w83782d; set enclosureType 4; set coolingMaxNumber 255; call esaW83782dInit
Read I2C succeeds. I2C cable is connected
Set Vcorea High Limit = [255]
Set Vcorea Low Limit = [1]
Set Vinr0 High Limit = [255]
Set Vinr0 Low Limit = [1]
Set +3.3Vin High Limit = [255]
Set +3.3Vin Low Limit = [1]
+5Vin High Limit = [255]
Set +5Vin Low Limit = [1]
Set +12Vin High Limit = [255]
Set +12Vin Low Limit = [1]
Set -12Vin High Limit = [255]
Set -12Vin Low Limit = [1]
Set -5Vin High Limit = [255]
Set -5Vin Low Limit = [1]
Load PWM Winbond[255] Percent to Fan [0]
Load PWM Winbond[255] Percent to Fan [1]
Load PWM Winbond[255] Percent to Fan [2]
Load PWM Winbond[255] Percent to Fan [3]
Unsupported Winbond Fan Index = [3].
Load PWM Winbond[255] Percent to Fan [4]
Unsupported Winbond Fan Index = [4].
Load PWM Winbond[255] Percent to Fan [5]
Unsupported Winbond Fan Index = [5].
Load PWM Winbond[255] Percent to Fan [6]
Unsupported Winbond Fan Index = [6].
Load PWM Winbond[255] Percent to Fan [7]
Unsupported Winbond Fan Index = [7].
Set Backplane Alarm State to [MUTE_S3].
Finish the initialization for the W83782D guideline based enclosure.
 = 0
> up w83782d; set temperatureSensorMaxNumber 255; set coolingMaxNumber 0; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; call poll; page
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
This Fault bit is [FAN]
This Fault bit [0x4] does NOT exist currently.
The Fault bit [0x4] is already clear.
Temperature Sensor [0] for I2C address [0x2d] = [25] degrees Celsius.
temperatureSensor[0] = [25] degrees Celsius.
Temperature Sensor [1] for I2C address [0x2d] = [32767] degrees Celsius.
temperatureSensor[1] = [32767] degrees Celsius.
Temperature Sensor [2] for I2C address [0x2d] = [32767] degrees Celsius.
temperatureSensor[2] = [32767] degrees Celsius.
Temperature Sensor [3] for I2C address [0x2d] = [32767] degrees Celsius.
temperatureSensor[3] = [32767] degrees Celsius.
Temperature Sensor [4] for I2C address [0x2d] = [32767] degrees Celsius.
temperatureSensor[4] = [32767] degrees Celsius.
Temperature Sensor [5] for I2C address [0x2d] = [32767] degrees Celsius.
temperatureSensor[5] = [32767] degrees Celsius.
Temperature Sensor [6] for I2C address [0x2d] = [32767] degrees Celsius.
temperatureSensor[6] = [32767] degrees Celsius.
Temperature Sensor [7] for I2C address [0x2d] = [32767] degrees Celsius.
temperatureSensor[7] = [32767] degrees Celsius.
temperatureSensorAverage = [25] degrees Celsius.
This Fault bit is [TEMPERATURE_OVERHEAT]
This Fault bit [0x8] does NOT exist currently.
The Fault bit [0x8] is already clear.
Receive a MMSG to the Enclosure Services Adapter
ESA receives RCV DIAG Cmd.
Temperature Sensor [0] for I2C address [0x2d] = [25] degrees Celsius.
Temperature Sensor [1] for I2C address [0x2d] = [32767] degrees Celsius.
Temperature Sensor [2] for I2C address [0x2d] = [32767] degrees Celsius.
Temperature Sensor [3] for I2C address [0x2d] = [32767] degrees Celsius.
Temperature Sensor [4] for I2C address [0x2d] = [32767] degrees Celsius.
Temperature Sensor [5] for I2C address [0x2d] = [32767] degrees Celsius.
Temperature Sensor [6] for I2C address [0x2d] = [32767] degrees Celsius.
Temperature Sensor [7] for I2C address [0x2d] = [32767] degrees Celsius.
Send out a Diagnostic Page.
> use xyratex; set coolingMaxNumber 255; call init
Read I2C succeeds. I2C cable is connected
Setup the data direction for all VSC055 ports.
ESA internal database, esaControl.vitesse.vsc055DDP[0] = [0xff]
Read VSC055_DDP[0] Register, returned value = [0xff]
ESA internal database, esaControl.vitesse.vsc055DDP[1] = [0x0]
Read VSC055_DDP[1] Register, returned value = [0x0]
ESA internal database, esaControl.vitesse.vsc055DDP[2] = [0xff]
Read VSC055_DDP[2] Register, returned value = [0xff]
ESA internal database, esaControl.vitesse.vsc055DDP[3] = [0xf]
Read VSC055_DDP[3] Register, returned value = [0xf]
ESA internal database, esaControl.vitesse.vsc055DDP[4] = [0x30]
Read VSC055_DDP[4] Register, returned value = [0x30]
ESA internal database, esaControl.vitesse.vsc055DDP[5] = [0x10]
Read VSC055_DDP[5] Register, returned value = [0x10]
ESA internal database, esaControl.vitesse.vsc055DDP[6] = [0x0]
Read VSC055_DDP[6] Register, returned value = [0x0]
ESA internal database, esaControl.vitesse.vsc055DDP[7] = [0x0]
Read VSC055_DDP[7] Register, returned value = [0x0]
Load PWM [25] Percent to Fan [0]
Load PWM [25] Percent to Fan [1]
Initialize VSC055_FSC[0] Register with value = [0x80]
Initialize VSC055_FSC[1] Register with value = [0x80]
Initialize VSC055_FSC[2] Register with value = [0x80]
Initialize VSC055_FSC[3] Register with value = [0x80]
Initialize VSC055_FSC[4] Register with value = [0x80]
Initialize VSC055_FSC[5] Register with value = [0x80]
Initialize VSC055_FSC[6] Register with value = [0x80]
Initialize VSC055_FSC[7] Register with value = [0x80]
Set the Alarm State to [IDEL_S0].
 = 0
> up xyratex; show bus; hide log; set coolingMaxNumber 0; set deviceMaxNumber 0; set powerSupplyMaxNumber 0; set temperatureSensorMaxNumber 0; set audibleAlarmMaxNumber 44; page
R 4C 00=19
R 4C 00=19
R 4D 00=1A
R 4D 00=1A
W 63 05=00
R 63 05=00
W 63 05=01
R 63 05=01
W 63 05=02
R 63 05=02
