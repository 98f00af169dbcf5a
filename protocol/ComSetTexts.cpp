// The meaning of status and parameter numbers in Russian, in the order of the names in ComSetInfo.cpp.
#include "protocol/ComSetInfo.h"

// clang-format off
constexpr const wchar_t* const szErrorsStrings[kErrorsCount] = {
    L"Команда успешно выполнена",                                              // SK_NO_ERROR
    L"Значение параметра скорректировано",                                     // SK_PARAMETER_CORRECTED
    L"Часть параметров неизвестна и поэтому проигнорирована",                  // SK_PARAMETER_IGNORED
    L"Вышло время ожидания завершения измерений",                              // SK_TIMEOUT
    L"Соединение по Ethernet закрыто",                                         // SK_ETHERNET
    L"Выполнение операции завершено",                                          // SK_FINISH
    L"Мощность не стабилизирована",                                            // SK_UNLEVEL
    L"Нарушена целостность потока данных",                                     // SK_BREAK_FLOW
    L"Перегрузка тракта СВЧ",                                                  // SK_RF_OVERLOAD
    L"Перегрузка АЦП",                                                         // SK_ADC_OVERLOAD
    L"Перегрузка тракта ПЧ",                                                   // SK_IF_OVERLOAD
    L"Перегрузка тракта 1-й ПЧ",                                               // SK_IF1_OVERLOAD
    L"Перегрузка тракта 2-й ПЧ",                                               // SK_IF2_OVERLOAD
    L"Перегрузка тракта 3-й ПЧ",                                               // SK_IF3_OVERLOAD
    L"Перегрузка тракта 4-й ПЧ",                                               // SK_IF4_OVERLOAD
    L"Перегрузка тракта 5-й ПЧ",                                               // SK_IF5_OVERLOAD
    L"Пустое значение в файле XML",                                            // SKAPI_XML_EMPTY_VALUE
    L"Заданная мощность не достигнута",                                        // SK_UNREACH_POWER
    L"Нарушена логическая целостность потока данных",                          // SK_BREAK_FLOW_LOGICAL
    L"Результат измерения недостоверен",                                       // SK_NOT_CORRECT_MEASUREMENT
    L"Недостаточное разрешение по частоте",                                    // SK_NOT_ENOUGH_RESOLUTION
    L"Выполнение операции не завершено",                                       // SK_NOT_FINISH
    L"Нет захвата от внешнего опорного генератора",                            // SK_EXTREF_NO_PLL_WARNING
    L"Нет сигнала внешнего опорного генератора",                               // SK_EXTREF_NO_POWER_WARNING
    L"Отсутствует входной сигнал",                                             // SK_NO_SIGNAL_WARNING
    L"Вышло время ожидания ответа от прибора",                                 // SE_READ_TIMEOUT
    L"Вышло время ожидания записи данных",                                     // SE_WRITE_TIMEOUT
    L"Не удалось выделить память",                                             // SE_CANT_EXTRACT_MEMORY
    L"Не удалось открыть файл",                                                // SE_CANT_OPEN_FILE
    L"Ошибка записи в файл",                                                   // SE_WRITE_FILE_ERROR
    L"Ошибка чтения из файла",                                                 // SE_READ_FILE_ERROR
    L"Неизвестная программная ошибка",                                         // SE_UNKNOWN_ERROR
    L"Выполнение операции прервано",                                           // SE_OPERATION_CANCELED
    L"Отсутствует соединение с прибором",                                      // SE_CONNECTION_LOST
    L"Не найден каталог",                                                      // SE_PATH_NOTFOUND
    L"Формат файла не поддерживается",                                         // SE_NSUP_FILE_FORMAT
    L"Отсутствуют данные",                                                     // SE_NO_DATA
    L"Прибор находится в состоянии критической ошибки",                        // SK_CRITICAL_ERROR
    L"Команда не поддерживается прибором",                                     // SK_UNKNOWN_COMMAND
    L"Параметр не поддерживается прибором",                                    // SK_UNKNOWN_PARAMETER
    L"Некорректный параметр (значение параметра не поддерживается прибором)",  // SK_PARAMETER_INCORRECT
    L"Не задан ни один параметр",                                              // SK_NO_PARAMETERS
    L"Недостаточный размер команды",                                           // SK_SMALL_SIZE
    L"Ошибка ПЛИС",                                                            // SK_PLD_ERROR
    L"Нет захвата 1-го гетеродина",                                            // SK_LO1_NO_PLL
    L"Нет захвата 2-го гетеродина",                                            // SK_LO2_NO_PLL
    L"Нет захвата 3-го гетеродина",                                            // SK_LO3_NO_PLL
    L"Вышло время ожидания цифровой синхронизации",                            // SK_SYNC_TIMEOUT
    L"Вышло время ожидания готовности синтезатора",                            // SK_SYNTH_TIMEOUT
    L"Ошибка АЦП",                                                             // SK_ADC_ERROR
    L"Некорректный размер команды",                                            // SK_SIZE_ERROR
    L"Некорректная сигнатура команды",                                         // SK_SIGNATURE_ERROR
    L"Ошибка ППЗУ",                                                            // SK_EPROM_ERROR
    L"Содержимое ППЗУ не соответствует прибору",                               // SK_EPROM_MISMATCH
    L"Ошибка калибровки T2",                                                   // SK_CALIBR_T2_ERROR
    L"Некорректный размер данных калибровки T2",                               // SK_CALIBR_T2_SIZE_ERROR
    L"Вышло время ожидания ответа по шине LVDS",                               // SK_LVDS_TIMEOUT
    L"Отсутствует устройство на шине LVDS",                                    // SK_LVDS_DEVICE_ERROR
    L"Отсутствует регистр устройства на шине LVDS",                            // SK_LVDS_REGISTER_ERROR
    L"Вышло время ожидания аналоговой асинхронной операции",                   // SK_ASYNC_TIMEOUT
    L"Дистанционное управление запрещено",                                     // SK_LOCAL_CONTROL
    L"Некорректный формат файла",                                              // SK_FILE_FORMAT_ERROR
    L"Дублирование пакетов на шине LVDS",                                      // SK_LVDS_DOUBLE_READ
    L"Некорректный режим синтезатора",                                         // SK_ERROR_SYNT_MODE
    L"Ошибка SATA",                                                            // SK_SATA_ERROR
    L"Нет захвата от внешнего опорного генератора",                            // SK_EXTREF_NO_PLL
    L"Нет захвата синтезатора",                                                // SK_SYNTH_NO_PLL
    L"Нет захвата 4-го гетеродина",                                            // SK_LO4_NO_PLL
    L"Нет захвата 5-го гетеродина",                                            // SK_LO5_NO_PLL
    L"Нет захвата от внешнего опорного генератора во время измерений",         // SK_EXTREF_NO_PLL_MEASURE
    L"Нет сигнала внешнего опорного генератора",                               // SK_EXTREF_NO_POWER
    L"Нет сигнала внешнего опорного генератора во время измерений",            // SK_EXTREF_NO_POWER_MEASURE
    L"Неисправность опорного генератора",                                      // SK_REF_GEN_FAULT
    L"Некорректная мощность калибровочного сигнала",                           // SK_CALIBRATION_POWER_ERROR
    L"Внутренний запрос прибора не выполнен",                                  // SKAPI_REQUEST_FAIL
    L"Ошибка в файловой системе прибора",                                      // SKAPI_FILE_SYSTEM_ERROR
    L"Не найден каталог в приборе",                                            // SKAPI_PATH_NOTFOUND
    L"Не найден файл в приборе",                                               // SKAPI_FILE_NOTFOUND
    L"Ошибка чтения файла в приборе",                                          // SKAPI_READ_ERROR
    L"Ошибка записи файла в приборе",                                          // SKAPI_WRITE_ERROR
    L"Отказано в доступе к файлу в приборе",                                   // SKAPI_ACCESS_DENIED
    L"Ошибка контрольной суммы",                                               // SKAPI_CRC_ERROR
    L"Некорректный файл встроенного ПО",                                       // SKAPI_ILLEGAL_BOOTFILE
    L"Недостаточно места в памяти прибора",                                    // SKAPI_NOT_ENOUGH_SPACE
    L"Недостаточный размер файла",                                             // SKAPI_NOT_ENOUGH_FILESIZE
    L"Вышло время ожидания обмена по FTP",                                     // SKAPI_FTP_TIMEOUT
    L"Не найден узел в файле XML",                                             // SKAPI_XML_NODE_NOTFOUND
    L"Неизвестная ошибка прибора 2",                                           // SKAPI_ERROR2
    L"Неизвестная ошибка прибора 3",                                           // SKAPI_ERROR3
    L"Неизвестная ошибка прибора 4",                                           // SKAPI_ERROR4
    L"Неизвестная ошибка прибора 5",                                           // SKAPI_ERROR5
    L"Недостаточно памяти в приборе",                                          // SK_CTRL_NOT_ENOUGH_MEMORY
    L"Некорректные расчётные данные",                                          // SK_CTRL_WRONG_CALC_DATA
    L"Загрузка прибора прервана",                                              // SK_CTRL_RESET_LOAD_DEVICE
    L"Некорректный делитель частоты",                                          // SK_CTRL_WRONG_FREQ_DIVIDER
    L"Вышло время ожидания внутреннего запроса прибора",                       // SK_CTRL_REQUEST_TIMEOUT
    L"Время ожидания не вышло",                                                // SK_CTRL_TIME_NOT_OUT
    L"Некорректная частота",                                                   // SK_CTRL_WRONG_FREQ
    L"Некорректные исходные данные",                                           // SK_CTRL_WRONG_SOURCE_DATA
    L"Ошибка инициализации класса",                                            // SK_CTRL_CLASS_USING_ERROR
    L"Некорректная последовательность загрузки",                               // SK_CTRL_WRONG_STAGE
    L"Некорректный аргумент",                                                  // SK_CTRL_WRONG_ARGUMENT
    L"Неизвестная ошибка управления 2",                                        // SK_CTRL_ERROR2
    L"Неизвестная ошибка управления 3",                                        // SK_CTRL_ERROR3
    L"Неизвестная ошибка управления 4",                                        // SK_CTRL_ERROR4
    L"Неизвестная ошибка управления 5",                                        // SK_CTRL_ERROR5
    L"Неизвестная ошибка управления 6",                                        // SK_CTRL_ERROR6
    L"Неизвестная ошибка управления 7",                                        // SK_CTRL_ERROR7
    L"Неизвестная ошибка управления 8",                                        // SK_CTRL_ERROR8
    L"Неизвестная ошибка управления 9",                                        // SK_CTRL_ERROR9
    L"Неизвестная ошибка управления 10",                                       // SK_CTRL_ERROR10
    L"Параметры изменены пользователем",                                       // SK_W3T_USER_CHANGES
};

constexpr const wchar_t* const szParametersStrings[kDescribedParametersCount] = {
    L"Диапазон частот",                                      // P_FREQUENCY
    L"Автоматическая регулировка усиления",                  // P_AUTO_GAIN
    L"Список частот",                                        // P_FREQUENCY_LIST2
    L"Режим работы прибора",                                 // P_MODE
    L"Усреднение",                                           // P_AVERAGING
    L"Задание различных интервалов",                         // P_INTERVAL
    L"Температура",                                          // P_TEMPERATURE
    L"Вход синхронизации",                                   // P_SYNC_IN
    L"Выход синхронизации",                                  // P_SYNC_OUT
    L"Второй выход синхронизации",                           // P_SYNC_OUT2
    L"Доступ к файлам",                                      // P_FILE
    L"Компенсация",                                          // P_COMPENSATION
    L"Управление выходом СВЧ",                               // P_RF_OUT
    L"Настройки Ethernet",                                   // P_ETHERNET
    L"Серийный номер",                                       // P_SER_NUM
    L"Даты изготовления и поверки",                          // P_DATES
    L"Время наработки",                                      // P_RUN_TIME
    L"Внешний опорный генератор (ОГ)",                       // P_EXT_REF_GEN
    L"Загрузочное ПЗУ",                                      // P_BOOTROM
    L"Регистры синтезатора",                                 // P_SYNTH04
    L"Параметры АЦП",                                        // P_ADC_PARAM
    L"Чтение ЦАП синтезатора",                               // P_SYNTH04_GET_DAC
    L"ППЗУ синтезатора",                                     // P_SYNTH04_EPROM
    L"Конфигурация прибора",                                 // P_CONFIG
    L"Доступ к ОЗУ",                                         // P_RAM
    L"Доступ к ППЗУ",                                        // P_EPROM
    L"Список мощностей",                                     // P_RF_OUT_LIST
    L"Поиск мощности",                                       // P_SEARCH_POWER
    L"Внутренняя команда",                                   // P_INT_COMMAND
    L"Калибровка",                                           // P_CALIBR
    L"Регулировочная кривая",                                // P_REGUL_CURVE
    L"Настройки модуляции.",                                 // P_MODULATION
    L"Блок данных в памяти FRAM",                            // P_BLOCKINFRAM
    L"Второе загрузочное ПЗУ",                               // P_BOOTROM2
    L"Состояние кнопки включения СВЧ мощности",              // P_RF_BUTTON
    L"Частота калибровки",                                   // P_CALIBR_FREQ
    L"Список точек",                                         // P_POINTS_LIST
    L"Конфигурация внутреннего синхрогенератора",            // P_GEN_SYNC
    L"Вторая регулировочная кривая",                         // P_REGUL_CURVE_2
    L"Автоматическая установка нуля",                        // P_AVTOZERO
    L"Максимальный номер параметра Q2T",                     // P_Q2T_MAX_NUMBER
    L"Тактовая частота",                                     // P_CLK
    L"Вспомогательный параметр",                             // P_AUX
    L"Система автоматической регулировки усиления",          // P_AGC
    L"Коэффициент децимации",                                // P_DECIMATION
    L"Масштабный множитель",                                 // P_FACTOR
    L"Маска каналов",                                        // P_CHANNEL_MASK
    L"Частота приёмника",                                    // P_RRS_FREQUENCY
    L"Ослабление приёмника",                                 // P_RRS_ATTENUATE
    L"Базовое ослабление приёмника",                         // P_RRS_BASE_ATTENUATE
    L"Относительное ослабление приёмника",                   // P_RRS_REL_ATTENUATE
    L"Управление входом СВЧ приёмника",                      // P_RRS_RF_IN
    L"Температура приёмника",                                // P_RRS_TEMPERATURE
    L"Относительная частота генератора",                     // P_GEN_REL_FREQUENCY
    L"Ослабление генератора",                                // P_GEN_ATTENUATE
    L"Управление выходом СВЧ генератора",                    // P_GEN_RF_OUT
    L"Состояние шины LVDS",                                  // P_LVDS_STATUS
    L"Полоса фильтра ПЧ",                                    // P_IF_FILTER_BANDWIDTH
    L"Генератор шума",                                       // P_NOISE_GEN
    L"Таблица НКПП",                                         // P_TABLE_NKPP
    L"Полоса видеофильтра",                                  // P_VIDEO_FILTER_BANDWIDTH
    L"Управление переключателем",                            // P_SWITCH
    L"Детектор отображения",                                 // P_DISPLAY_DETECTOR
    L"Малошумящий усилитель приёмника",                      // P_RRS_LOW_NOISE_AMPL
    L"Состояние электронного калибратора",                   // P_ECAL_STATE
    L"Усиление тракта ПЧ",                                   // P_IF_AMPLIFY
    L"Коэффициенты тракта ПЧ",                               // P_IF_COEFFICIENTS
    L"Список мощностей",                                     // P_RF_OUT_LIST2
    L"Режим работы синтезатора",                             // P_SYNTH_MODE
    L"Внешний опорный генератор (ОГ)",                       // P_EXT_REF_GEN2
    L"Управление выходом СВЧ",                               // P_RF_OUT2
    L"Фаза генератора",                                      // P_PHASE_GEN
    L"Открытый или закрытый вход",                           // P_AC_DC_INPUT
    L"Коррекция частотной характеристики",                   // P_CORR_FR
    L"Идентификатор устройства",                             // P_SID
    L"Смещение преселектора",                                // P_PRESELECTOR_OFFSET
    L"Режим работы 1-го гетеродина",                         // P_LO1_MODE
    L"Обработка сигнала ПЧ",                                 // P_IF_PROCESSING
    L"Частотомер приёмника",                                 // P_RRS_FREQUENCY_COUNTER
    L"Опорный уровень приёмника",                            // P_RRS_REFERENCE_LEVEL
    L"Время измерения",                                      // P_MEASURE_TIME
    L"Оптимальное количество точек",                         // P_OPTIMUM_POINTS
    L"Время",                                                // P_TIME
    L"Сдвиг начальной фазы",                                 // P_PHASE
    L"Параметры синхронизации",                              // P_SYNC_PARAM
    L"Коэффициенты логарифматора",                           // P_LOG_KOEF
    L"Время развёртки",                                      // P_SWEEP_TIME
    L"Максимальный уровень на смесителе",                    // P_MAX_MIXER_LEVEL
    L"Тип входа",                                            // P_INPUT_TYPE
    L"Вход прибора",                                         // P_INSTRUMENT_INPUT
    L"Размывание сигнала АЦП",                               // P_ADC_DITHERING
    L"Режим потоковой передачи данных",                      // P_STREAM_MODE
    L"Частота дискретизации",                                // P_SAMPLE_RATE
    L"Входное сопротивление",                                // P_INPUT_IMPEDANCE
    L"Количество точек потоковой передачи данных",           // P_STREAM_POINTS
    L"Минимальный фильтр ПЧ при развёртке",                  // P_SWEEP_MIN_IF_FILTER
    L"Частоты характеристики",                               // P_RESPONSE_FREQUENCY
    L"Амплитуды характеристики",                             // P_RESPONSE_AMPLITUDE
    L"Фазы характеристики",                                  // P_RESPONSE_PHASE
    L"Точка синхронизации",                                  // P_SYNC_POINT
    L"Настройки демодуляции",                                // P_DEMODULATION
    L"Список внутренних команд",                             // P_INT_COMMAND_LIST
    L"Свойства измерения",                                   // P_MEASURE_PROPERTY
    L"Список частот приёмника",                              // P_RRS_FREQUENCY_LIST2
    L"Технические характеристики прибора",                   // P_SPECIFICATION
    L"Режим работы генератора",                              // P_GEN_MODE
    L"Промежуточная частота (ПЧ)",                           // P_IF
    L"Калибровка входных фильтров",                          // P_PREFILTERS_CALIBRATION
    L"Усиление приёмника шума",                              // P_NOISE_REC_GAIN
    L"Список точек синхронизации",                           // P_SYNC_POINT_LIST
    L"Шумовая полоса фильтра ПЧ",                            // P_IF_FILTER_NOISE_BANDWIDTH
    L"Делитель",                                             // P_DIVIDER
    L"Режим работы тракта ПЧ",                               // P_IF_MODE
    L"Полоса фильтра ПЧ при калибровке",                     // P_CALIBR_IF_FILTER_BANDWIDTH
    L"Отладочный параметр",                                  // P_DEBUG
    L"Коэффициент усиления тракта ПЧ",                       // P_IF_GAIN
    L"Отстройки по частоте при измерении фазового шума",     // P_PHASE_NOISE_FREQ_OFFSETS
    L"Список частот при измерении фазового шума",            // P_PHASE_NOISE_FREQ_LIST
    L"Количество точек",                                     // P_POINTS
    L"Напряжение смещения",                                  // P_DC_BIAS
    L"Тип фильтра ПЧ",                                       // P_IF_FILTER_TYPE
    L"Запись демодулированных данных в файл",                // P_DEMOD_DATA_TO_FILE
    L"Данные спектра демодулированного сигнала",             // P_DEMOD_SPECTRUM_DATA
    L"Частоты спектра демодулированного сигнала",            // P_DEMOD_SPECTRUM_FREQUENCY
    L"Полоса разрешения спектра демодулированного сигнала",  // P_DEMOD_SPECTRUM_RBW
    L"Данные формы демодулированного сигнала",               // P_DEMOD_WAVEFORM_DATA
    L"Время формы демодулированного сигнала",                // P_DEMOD_WAVEFORM_TIME
    L"Коррекция частоты при демодуляции",                    // P_DEMOD_FREQUENCY_CORR
    L"Сужение полосы ПЧ на низких частотах",                 // P_IF_BANDWIDTH_LF_REDUCTION
    L"Импульсный режим",                                     // P_PULSE_MODE
    L"Параметры импульсного режима",                         // P_PULSE_PARAM
    L"Режим обработки гармоник",                             // P_HARMONICS_PROC_MODE
    L"Список частот гармоник",                               // P_HARMONICS_FREQUENCY_LIST
    L"Полоса разрешения приёмника шума",                     // P_NOISE_REC_RBW
    L"Границы перестройки преселектора",                     // P_PRESELECTOR_MAX_MIN
    L"Единицы измерения",                                    // P_W3T_UNITS
    L"Количество разрядов",                                  // P_W3T_DIGIT
    L"Подсветка индикатора",                                 // P_W3T_LIGHT
    L"Установка нуля",                                       // P_W3T_ZEROING
    L"Смещение мощности",                                    // P_POWER_OFFSET
    L"Дата и время",                                         // P_DATE_TIME
    L"Профиль настроек",                                     // P_PROFILE
    L"Пределы",                                              // P_LIMITS
    L"Память прибора",                                       // P_MEMORY
    L"Текущая мощность",                                     // P_CURRENT_POW
    L"Максимальный номер параметра",                         // P_MAX_NUMBER
};
// clang-format on

static_assert(szErrorsStrings[kErrorsCount - 1] != nullptr);
static_assert(szParametersStrings[kDescribedParametersCount - 1] != nullptr);
