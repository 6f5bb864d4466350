-- A sample registry: the municipal fleet and the guarded sites of an invented town, to try things on.
--
--   psql -v ON_ERROR_STOP=1 -d <database> -f schema/demo.sql
--
-- Run it after schema.sql, as the owner of the tables, on a registry that is still empty; otherwise it refuses with an
-- error (exit code 3). All of it happens in one transaction, and a new database always gets the same rows. Towns,
-- companies, people, numbers and accounts are invented; the passwords are there to be read.

\set ON_ERROR_STOP on
\set QUIET on
\encoding UTF8

BEGIN;

DO $$
DECLARE
    tables CONSTANT text[] := ARRAY['"Objects"', '"Objects_property"', '"Sensors"', '"Commands"', '"Params"', '"Groups"',
        '"Groups_groups"', '"Groups_objects"', '"Connections"', '"Objects_permission"', '"Person_Setup"', '"OpChk_Layers"',
        '"Templates"', '"TemplatesFirm"', '"ExampleObjProps"', '"ExampleSensors"', '"ExampleControls"', 'archive.lastdata'];
    one text;
    filled boolean;
BEGIN
    -- qstring() below takes a character's code for its Unicode number, which only this encoding promises.
    IF getdatabaseencoding() <> 'UTF8' THEN
        RAISE EXCEPTION 'objects_server: the sample registry needs a database with encoding UTF8, this one has %',
            getdatabaseencoding();
    END IF;
    FOREACH one IN ARRAY tables LOOP
        IF to_regclass(one) IS NULL THEN
            RAISE EXCEPTION 'objects_server: there is no table %, nothing was changed', one
                USING HINT = 'Run schema/schema.sql first.';
        END IF;
        EXECUTE format('SELECT EXISTS (SELECT FROM %s)', one) INTO filled;
        IF filled THEN
            RAISE EXCEPTION 'objects_server: this registry is in use (% holds rows), nothing was changed', one
                USING HINT = 'The sample registry goes into an empty one: make a new database and run schema/schema.sql on it.';
        END IF;
    END LOOP;
END $$;

-- Byte forms: big-endian stream values of version 11 ------------------------------------------------------------------------

CREATE FUNCTION pg_temp.be16(n integer) RETURNS bytea LANGUAGE sql IMMUTABLE AS
    $$ SELECT substring(int4send(n) FROM 3 FOR 2) $$;

CREATE FUNCTION pg_temp.be32(n integer) RETURNS bytea LANGUAGE sql IMMUTABLE AS
    $$ SELECT int4send(n) $$;

CREATE FUNCTION pg_temp.utf8(t text) RETURNS bytea LANGUAGE sql IMMUTABLE AS
    $$ SELECT convert_to(t, 'UTF8') $$;

-- A length and the bytes; the length -1 alone for a null.
CREATE FUNCTION pg_temp.qbytes(b bytea) RETURNS bytea LANGUAGE sql IMMUTABLE AS
    $$ SELECT coalesce(pg_temp.be32(octet_length(b)) || b, pg_temp.be32(-1)) $$;

-- UTF-16 units; all texts here lie in the basic plane, one unit per character.
CREATE FUNCTION pg_temp.utf16(t text) RETURNS bytea LANGUAGE sql IMMUTABLE AS
    $$ SELECT coalesce(string_agg(pg_temp.be16(ascii(c)), ''::bytea ORDER BY i), '')
       FROM unnest(string_to_array(t, NULL)) WITH ORDINALITY AS u(c, i) $$;

CREATE FUNCTION pg_temp.qstring(t text) RETURNS bytea LANGUAGE sql IMMUTABLE AS
    $$ SELECT CASE WHEN t IS NULL THEN pg_temp.be32(-1) ELSE pg_temp.qbytes(pg_temp.utf16(t)) END $$;

-- A count and the texts, from labels joined with ";"; no labels is the count 0.
CREATE FUNCTION pg_temp.qlabels(joined text) RETURNS bytea LANGUAGE sql IMMUTABLE AS
    $$ SELECT pg_temp.be32(count(*)::integer) || coalesce(string_agg(pg_temp.qstring(label), ''::bytea ORDER BY i), '')
       FROM unnest(string_to_array(joined, ';')) WITH ORDINALITY AS u(label, i) $$;

-- An RGB colour from '#rrggbb': kind 1, then alpha, red, green, blue and padding, 16 bits each.
CREATE FUNCTION pg_temp.qcolor(rgb text) RETURNS bytea LANGUAGE sql IMMUTABLE STRICT AS
    $$ SELECT decode('01ffff' || repeat(substr(rgb, 2, 2), 2) || repeat(substr(rgb, 4, 2), 2) || repeat(substr(rgb, 6, 2), 2)
                     || '0000', 'hex') $$;

-- A picture: 1 and its PNG file; 0 alone for the empty picture.
CREATE FUNCTION pg_temp.qimage(png bytea) RETURNS bytea LANGUAGE sql IMMUTABLE AS
    $$ SELECT coalesce(pg_temp.be32(1) || png, pg_temp.be32(0)) $$;

-- A random-looking identifier (version 4 form) that follows from the number alone.
CREATE FUNCTION pg_temp.guid(n integer) RETURNS text LANGUAGE sql IMMUTABLE AS
    $$ SELECT '{' || overlay(overlay(md5('sample object ' || n) PLACING '4' FROM 13) PLACING 'a' FROM 17)::uuid || '}' $$;

-- Icons of 16 by 16 points ------------------------------------------------------------------------------------------------

CREATE TEMP TABLE demo_icon (icon text, png bytea) ON COMMIT DROP;
INSERT INTO demo_icon SELECT icon, decode(base64, 'base64') FROM (VALUES
    ('truck',  'iVBORw0KGgoAAAANSUhEUgAAABAAAAAQBAMAAADt3eJSAAAAD1BMVEUAAAAoKDD///+WoKrheB7UqgEfAAAAAXRSTlMAQObYZgAAAENJREFUeNpjYMANWFxcXBzgDEFBKENIUQDKUBKASQkiGMzGQABmGAqCGMIMDIxAHUKKQIMYBQUYQOYwMAAJRgEsdgIAHjUKHbu1F5AAAAAASUVORK5CYII='),
    ('bus',    'iVBORw0KGgoAAAANSUhEUgAAABAAAAAQBAMAAADt3eJSAAAAD1BMVEUAAAAoKDD///8yZL7wvijaN/AiAAAAAXRSTlMAQObYZgAAAD1JREFUeNpjYMAAzMZgYMDArGSkrGSkhJUBVwNhODCwuICBA5KUobCxsaGwAQODkCIEMwgKQjADowAEYwAACr8Mzq0CpNgAAAAASUVORK5CYII='),
    ('patrol', 'iVBORw0KGgoAAAANSUhEUgAAABAAAAAQBAMAAADt3eJSAAAAD1BMVEUAAAAoKDD////IKCgyZL6bhpinAAAAAXRSTlMAQObYZgAAAEJJREFUeNpjYMAGjF0gtCAQgGhGJUUlJQGQAIgBFGJSAgMFBiZBMFBAElEUUlJSFFJgYBBShGAGkCFggxgFIBg3AADZGgX5BXCHLQAAAABJRU5ErkJggg=='),
    ('school', 'iVBORw0KGgoAAAANSUhEUgAAABAAAAAQBAMAAADt3eJSAAAAElBMVEUAAAAoKDDIKCgyZL7wviiCVTJ+O44IAAAAAXRSTlMAQObYZgAAAERJREFUeNpjYGBgYFRggABGJTgDKsQIFWAIDYDSoRBWaCiExRLiAgSuDgwsLmAAZBi7gCAyA0nKNcTZBJkB1BsCkoIBAC8lEvBfcyDtAAAAAElFTkSuQmCC'),
    ('store',  'iVBORw0KGgoAAAANSUhEUgAAABAAAAAQBAMAAADt3eJSAAAADFBMVEUAAAAoKDD///+WoKofD5NwAAAAAXRSTlMAQObYZgAAADVJREFUeNpjYMAGGAWgtKCgAIQ2NjYUgNDGxkAxRhBtbMgAZRgDRQwFgUAYxFACAmESRWAAAFf4CWykNaF3AAAAAElFTkSuQmCC'),
    ('shop',   'iVBORw0KGgoAAAANSUhEUgAAABAAAAAQBAMAAADt3eJSAAAAElBMVEUAAAAoKDD////IKCjwvig8lkYMrgeZAAAAAXRSTlMAQObYZgAAADJJREFUeNpjYMAAzEbKIGiAhcFgoACCDAysoWAQwMCqpKQUKiiKm+EaAFYcCBbBYGAAAJDYEUNep7xFAAAAAElFTkSuQmCC'),
    ('empty',  NULL)
) AS given(icon, base64);

-- What cards, templates and the example catalogues are made of ----------------------------------------------------------------

-- Type codes of values: 10 a line of text, 2 text of several lines (these two are searched), 1 a whole number, 3 a date,
-- 11 a picture, 12 a colour.
CREATE TEMP TABLE demo_property (pos integer, name text, description text, type integer, value bytea, visible text) ON COMMIT DROP;
INSERT INTO demo_property SELECT pos, name, description, type, pg_temp.utf8(value), visible FROM (VALUES
    ( 1, 'name',              'Наименование объекта',                                10, '',                't'),
    ( 2, 'subdivision',       'Подразделение',                                       10, '',                't'),
    ( 3, 'modem',             'Идентификационный номер навигационного блока',        10, '',                't'),
    ( 4, 'phone',             'Телефон SIM-карты блока',                             10, '+7 000 000-00-00', 'f'),
    ( 5, 'plate_number',      'Государственный номер',                               10, '',                't'),
    ( 6, 'vehicle_type',      'Тип техники',                                         10, '',                't'),
    ( 7, 'driver',            'Водитель',                                            10, '',                't'),
    ( 8, 'driver_phone',      'Телефон водителя',                                    10, '',                't'),
    ( 9, 'fuel_tank',         'Объём бака, л',                                        1, '100',             't'),
    (10, 'address',           'Адрес',                                               10, '',                't'),
    (11, 'responsible',       'Ответственное лицо',                                  10, '',                't'),
    (12, 'responsible_phone', 'Телефон ответственного лица',                         10, '',                't'),
    (13, 'contract',          'Номер договора охраны',                               10, NULL,              'f'),
    (14, 'schedule',          'Режим охраны',                                         2, 'круглосуточно',   't'),
    (15, 'install_date',      'Дата установки оборудования',                          3, '01.01.2025',      'f'),
    (16, 'pic',               'Значок',                                              11, NULL,              't'),
    (17, 'font_color',        'Цвет надписи',                                        12, NULL,              't'),
    (18, 'background_color',  'Цвет фона',                                           12, NULL,              't'),
    (19, 'note',              'Примечание',                                           2, '',                't')
) AS given(pos, name, description, type, value, visible);
UPDATE demo_property SET value = (SELECT pg_temp.qimage(png) FROM demo_icon WHERE icon = 'truck') WHERE name = 'pic';
UPDATE demo_property SET value = pg_temp.qcolor('#000000') WHERE name = 'font_color';
UPDATE demo_property SET value = pg_temp.qcolor('#ffffff') WHERE name = 'background_color';

-- Kinds of sensor: D two or more states, A a measured value, C a computed one, none for the supply. Quality: decimal places.
CREATE TEMP TABLE demo_sensor (type integer, code text, name text, measure text, vid text, quality integer, labels text,
    calculate text, rate bytea, may_edit boolean, may_delete boolean) ON COMMIT DROP;
INSERT INTO demo_sensor SELECT type, code, name, measure, vid, quality, labels, calculate, pg_temp.utf8(rate), may_edit, may_delete
FROM (VALUES
    ( 1, 'ignition',  'Зажигание',                '',     'D', 0, 'выключено;включено',            '',                         NULL,    true,  true),
    ( 2, 'speed',     'Скорость',                 'км/ч', 'A', 0, '',                              'x * 1.852',                '1.852', false, false),
    ( 3, 'fuel',      'Уровень топлива',          'л',    'A', 1, '',                              '(x - 180) * 0.125',        '0.125', true,  true),
    ( 4, 'power',     'Внешнее электропитание',   'В',    '',  1, '',                              'x / 10',                   '0.1',   false, true),
    ( 5, 'battery',   'Резервное электропитание', 'В',    'A', 2, '',                              'x / 100',                  '0.01',  false, true),
    ( 6, 'cabin',     'Температура в салоне',     '°C',   'A', 1, '',                              'x * 0.0625 - 40',          '0.0625', true, true),
    ( 7, 'panic',     'Тревожная кнопка',         '',     'D', 0, 'норма;тревога',                 '',                         NULL,    false, false),
    ( 8, 'door',      'Дверь',                    '',     'D', 0, 'закрыта;открыта;неисправность', '',                         NULL,    true,  true),
    ( 9, 'case',      'Корпус блока',             '',     'D', 0, 'закрыт;вскрыт',                 '',                         NULL,    false, false),
    (10, 'guard',     'Состояние охраны',         '',     'D', 0, 'снят;взят;взятие с задержкой',  '',                         NULL,    false, false),
    (11, 'perimeter', 'Периметр',                 '',     'D', 0, 'норма;нарушение',               '',                         NULL,    true,  true),
    (12, 'volume',    'Объёмный извещатель',      '',     'D', 0, 'норма;движение',                '',                         NULL,    true,  true),
    (13, 'smoke',     'Пожарный извещатель',      '',     'D', 0, 'норма;внимание;пожар',          '',                         NULL,    true,  true),
    (14, 'tool',      'Рабочий орган',            '',     'D', 0, 'поднят;опущен',                 '',                         NULL,    true,  true),
    (15, 'rate',      'Расход топлива',           'л/ч',  'C', 2, '',                              'if(ignition, -d(fuel), 0)', '1',    true,  true)
) AS given(type, code, name, measure, vid, quality, labels, calculate, rate, may_edit, may_delete);

-- Operation: 1 observation, 2 control, 3 mode change, 4 configuration. Executed by the block itself or by the server.
CREATE TEMP TABLE demo_command (pos integer, name text, operation integer, description text, exec_by text) ON COMMIT DROP;
INSERT INTO demo_command VALUES
    ( 1, 'get_position', 1, 'Запросить координаты',           'block'),
    ( 2, 'get_state',    1, 'Запросить состояние',            'block'),
    ( 3, 'get_photo',    1, 'Сделать снимок',                 'block'),
    ( 4, 'siren_on',     2, 'Включить сирену',                'block'),
    ( 5, 'engine_block', 2, 'Заблокировать двигатель',        'block'),
    ( 6, 'arm',          3, 'Взять под охрану',               'server'),
    ( 7, 'disarm',       3, 'Снять с охраны',                 'server'),
    ( 8, 'sleep',        3, 'Перевести в спящий режим',       'block'),
    ( 9, 'set_period',   4, 'Задать период передачи данных',  'block'),
    (10, 'set_server',   4, 'Задать адрес приёма данных',     'block');

CREATE TEMP TABLE demo_param (command text, pos integer, name text, description text, type integer, value text) ON COMMIT DROP;
INSERT INTO demo_param VALUES
    ('get_photo',    1, 'camera',  'Номер камеры',                     1, '1'),
    ('siren_on',     1, 'seconds', 'Длительность, с',                  1, '30'),
    ('engine_block', 1, 'delay',   'Задержка, с',                      1, '10'),
    ('engine_block', 2, 'reason',  'Основание',                       10, NULL),
    ('arm',          1, 'zones',   'Охранные зоны',                   10, '1,2,3'),
    ('arm',          2, 'delay',   'Задержка на выход, с',             1, '45'),
    ('disarm',       1, 'code',    'Код снятия',                      10, ''),
    ('sleep',        1, 'minutes', 'Просыпаться каждые, мин',          1, '60'),
    ('set_period',   1, 'moving',  'Период в движении, с',             1, '30'),
    ('set_period',   2, 'parked',  'Период на стоянке, с',             1, '600'),
    ('set_server',   1, 'address', 'Адрес',                           10, '192.0.2.10'),
    ('set_server',   2, 'port',    'Порт',                             1, '20100');

-- Sensors and commands of one kind of equipment, in display order.
CREATE TEMP TABLE demo_kit (kit text, sensors text[], commands text[]) ON COMMIT DROP;
INSERT INTO demo_kit VALUES
    ('truck',   '{ignition,speed,fuel,rate,power,battery,tool}',        '{get_position,get_state,engine_block,sleep,set_period,set_server}'),
    ('bus',     '{ignition,speed,fuel,power,cabin,door,panic}',         '{get_position,get_photo,engine_block,set_period}'),
    ('patrol',  '{ignition,speed,fuel,power,panic}',                    '{get_position,get_state,siren_on,sleep,set_period}'),
    ('site',    '{guard,perimeter,volume,smoke,door,power,battery,case}', '{get_state,siren_on,arm,disarm,set_period}'),
    ('tracker', '{speed,battery,panic}',                                '{get_position,sleep,set_period}');

-- The tree of groups --------------------------------------------------------------------------------------------------------

CREATE TEMP TABLE demo_group (id integer, parent integer, name text) ON COMMIT DROP;
INSERT INTO demo_group VALUES
    ( 1, NULL, 'Городское хозяйство Нижнелесска'),
    ( 2,    1,   'Дорожная служба'),
    ( 3,    2,     'Уборочная техника'),
    ( 4,    2,     'Ремонтная техника'),
    ( 5,    1,   'Пассажирские перевозки'),
    ( 6,    5,     'Городские маршруты'),
    ( 7,    5,     'Пригородные маршруты'),
    ( 8,    1,   'Аварийная служба'),
    ( 9,    8,     'Водопровод'),
    (10,    8,     'Тепловые сети'),
    (11, NULL, 'Охранное предприятие «Клён-Застава»'),
    (12,   11,   'Группы реагирования'),
    (13,   12,     'Правый берег'),
    (14,   12,     'Левый берег'),
    (15,   11,   'Охраняемые объекты'),
    (16,   15,     'Школы и детские сады'),
    (17,   15,     'Склады и гаражи'),
    (18,   15,     'Магазины и аптеки'),
    (19, NULL, 'Резерв');

INSERT INTO "Groups" ("Id", "Name", "IsRoot") SELECT id, name, parent IS NULL FROM demo_group ORDER BY id;
INSERT INTO "Groups_groups" ("Id_owner_group", "Id_qroup") SELECT parent, id FROM demo_group WHERE parent IS NOT NULL ORDER BY id;

-- Vehicles 1 to 25 ----------------------------------------------------------------------------------------------------------

-- An empty cell of driver stays on the card as a property without a value; other empty cells are not on the card at all.
CREATE TEMP TABLE demo_vehicle (id integer, group_id integer, kit text, name text, plate text, kind text, driver text,
    tank integer, modem text, icon text, font text, background text, note text) ON COMMIT DROP;
INSERT INTO demo_vehicle VALUES
    ( 1,  3, 'truck',  'Поливомоечная 1',        'а101лс 00', 'поливомоечная машина',    'Рябов С. И.',     210, '3100401', 'truck',  '#000000', '#ffe9c7', NULL),
    ( 2,  3, 'truck',  'Поливомоечная 2',        'а102лс 00', 'поливомоечная машина',    'Дёмин П. А.',     210, '3100402', 'truck',  '#000000', '#ffe9c7', NULL),
    ( 3,  3, 'truck',  'Подметальная 3',         'а103лс 00', 'подметально-уборочная машина', NULL,         140, '3100403', 'truck',  '#000000', '#ffe9c7', 'Водитель назначается ежедневно.'),
    ( 4,  3, 'truck',  'Снегопогрузчик 4',       'а104лс 00', 'снегопогрузчик',          'Юдин В. К.',      180, '3100404', 'truck',  '#000000', '#ffe9c7', 'Сезонная техника: с ноября по апрель.'),
    ( 5,  3, 'truck',  'Снегопогрузчик 5',       'а105лс 00', 'снегопогрузчик',          NULL,              180, '3100405', 'truck',  '#808080', '#ffe9c7', E'На ремонте.\nБлок обесточен.'),
    ( 6,  4, 'truck',  'Самосвал 11',            'в211лс 00', 'самосвал',                'Ганин О. Т.',     350, '3100411', 'truck',  '#000000', '#ffd7a8', NULL),
    ( 7,  4, 'truck',  'Самосвал 12',            'в212лс 00', 'самосвал',                'Чижов А. Р.',     350, '3100412', 'truck',  '#000000', '#ffd7a8', NULL),
    ( 8,  4, 'truck',  'Каток 13',               NULL,        'дорожный каток',          'Лыков Е. С.',     120, '3100413', 'truck',  '#000000', '#ffd7a8', 'Перевозится на трале.'),
    ( 9,  4, 'truck',  'Асфальтоукладчик 14',    NULL,        'асфальтоукладчик',        'Шубин Г. Н.',     200, '3100414', NULL,     '#000000', '#ffd7a8', NULL),
    (10,  6, 'bus',    'Маршрут 3, выход 1',     'е301лс 00', 'автобус, 11 м',           'Носова Т. Д.',    240, '3100501', 'bus',    '#0b3d91', '#e3edff', NULL),
    (11,  6, 'bus',    'Маршрут 3, выход 2',     'е302лс 00', 'автобус, 11 м',           'Котов И. М.',     240, '3100502', 'bus',    '#0b3d91', '#e3edff', NULL),
    (12,  6, 'bus',    'Маршрут 7, выход 1',     'е701лс 00', 'автобус, 9 м',            'Белов А. А.',     190, '3100503', 'bus',    '#0b3d91', '#e3edff', NULL),
    (13,  6, 'bus',    'Маршрут 7, выход 2',     'е702лс 00', 'автобус, 9 м',            'Орехова М. В.',   190, '3100504', 'bus',    '#0b3d91', '#e3edff', 'Низкий пол, пандус.'),
    (14,  6, 'bus',    'Маршрут 9, выход 1',     'е901лс 00', 'автобус, 9 м',            NULL,              190, '3100505', 'bus',    '#0b3d91', '#e3edff', NULL),
    (15,  7, 'bus',    'Маршрут 101',            'к101лс 00', 'автобус пригородный',     'Зуев Н. Л.',      300, '3100511', 'bus',    '#0b3d91', '#d2f0ff', NULL),
    (16,  7, 'bus',    'Маршрут 104',            'к104лс 00', 'автобус пригородный',     'Тихонов Б. Я.',   300, '3100512', 'bus',    '#0b3d91', '#d2f0ff', NULL),
    (17,  7, 'bus',    'Маршрут 112, дачный',    'к112лс 00', 'автобус пригородный',     'Сычёв Д. Ф.',     300, '3100513', 'bus',    '#0b3d91', '#d2f0ff', 'Только по выходным, май — сентябрь.'),
    (18,  9, 'truck',  'Водопровод, бригада 1',  'м401лс 00', 'аварийная машина',        'Крутов Л. П.',    110, '3100601', 'truck',  '#ffffff', '#1f6fb2', NULL),
    (19,  9, 'truck',  'Водопровод, бригада 2',  'м402лс 00', 'илососная машина',        'Ершов К. Г.',     160, '3100602', 'truck',  '#ffffff', '#1f6fb2', NULL),
    (20, 10, 'truck',  'Теплосети, бригада 1',   'м411лс 00', 'аварийная машина',        'Фокин Ю. Ю.',     110, '3100603', 'truck',  '#ffffff', '#b23a1f', NULL),
    (21, 10, 'truck',  'Теплосети, сварщики',    'м412лс 00', 'сварочный агрегат',       'Ильин Р. О.',     NULL, '3100604', 'empty', '#ffffff', '#b23a1f', 'Прицеп без бака.'),
    (22, 13, 'patrol', 'Экипаж «Рубин-1»',       'о501лс 00', 'легковой автомобиль',     'Громов В. В.',     55, '3100701', 'patrol', '#ffffff', '#2e7d32', 'При необходимости работает на левом берегу.'),
    (23, 13, 'patrol', 'Экипаж «Рубин-2»',       'о502лс 00', 'легковой автомобиль',     'Панин С. С.',      55, '3100702', 'patrol', '#ffffff', '#2e7d32', NULL),
    (24, 14, 'patrol', 'Экипаж «Топаз-1»',       'о511лс 00', 'легковой автомобиль',     'Власов М. Э.',     55, '3100703', 'patrol', '#ffffff', '#2e7d32', NULL),
    (25, 14, 'patrol', 'Экипаж «Топаз-2»',       'о512лс 00', 'легковой автомобиль',     NULL,               55, '3100704', 'patrol', '#ffffff', '#2e7d32', NULL);

-- Guarded sites 26 to 42 ----------------------------------------------------------------------------------------------------

CREATE TEMP TABLE demo_site (id integer, group_id integer, kit text, name text, address text, responsible text, contract text,
    schedule text, modem text, icon text, font text, background text, note text) ON COMMIT DROP;
INSERT INTO demo_site VALUES
    (26,   16, 'site', 'Школа № 2',               'ул. Кленовая, 14',            'Агапова Н. П.',   'К-026/24', E'будни: 20:00–07:00\nвыходные: круглосуточно', '5200101', 'school', '#5d1049', '#fff3c4', NULL),
    (27,   16, 'site', 'Школа № 5',               'ул. Речников, 3',             'Суханова Е. Д.',  'К-027/24', E'будни: 20:00–07:00\nвыходные: круглосуточно', '5200102', 'school', '#5d1049', '#fff3c4', NULL),
    (28,   16, 'site', 'Гимназия',                'пл. Согласия, 1',             'Вагин Ф. Ф.',     'К-028/25', E'будни: 21:00–07:00\nвыходные: круглосуточно', '5200103', 'school', '#5d1049', '#fff3c4', 'Два входа, второй — со двора.'),
    (29,   16, 'site', 'Детский сад «Ручеёк»',    'Лесной пер., 8',              'Жукова О. О.',    'К-029/25', '19:00–06:30',   '5200104', 'school', '#5d1049', '#fff3c4', NULL),
    (30,   16, 'site', 'Детский сад «Совёнок»',   'ул. Мельничная, 21',          NULL,              'К-030/25', '19:00–06:30',   '5200105', 'school', '#5d1049', '#fff3c4', NULL),
    (31,   16, 'site', 'Музыкальная школа',       'ул. Кленовая, 30',            'Репина А. Л.',    'К-031/25', '22:00–08:00',   '5200106', 'school', '#5d1049', '#fff3c4', NULL),
    (32,   17, 'site', 'Склад противогололёдных материалов', 'Складской проезд, 2', 'Мохов Т. Т.', 'К-032/23', 'круглосуточно', '5200201', 'store',  '#000000', '#e0e0e0', 'Шлагбаум открывает дежурный.'),
    (33,   17, 'site', 'Склад запчастей автобусного парка', 'Парковая ул., 40',  'Рогов Э. В.',     'К-033/23', 'круглосуточно', '5200202', 'store',  '#000000', '#e0e0e0', NULL),
    (34,   17, 'site', 'Гараж аварийной службы',  'Парковая ул., 44',            'Крутов Л. П.',    'К-034/23', '20:00–06:00',   '5200203', 'store',  '#000000', '#e0e0e0', NULL),
    (35,   17, 'site', 'Насосная станция № 1',    'Береговой проезд, 1',         'Ершов К. Г.',     'К-035/24', 'круглосуточно', '5200204', NULL,     NULL,      '#e0e0e0', 'Нет связи в паводок.'),
    (36,   17, 'site', 'Котельная «Северная»',    'Кирпичный туп., 5',           'Фокин Ю. Ю.',     'К-036/24', 'круглосуточно', '5200205', 'store',  '#000000', NULL,      NULL),
    (37,   18, 'site', 'Аптека на Кленовой',      'ул. Кленовая, 2',             'Лисицына В. Б.',  'К-037/25', '21:00–08:00',   '5200301', 'shop',   '#003300', '#dcf5dc', NULL),
    (38,   18, 'site', 'Аптека у вокзала',        'Вокзальная пл., 4',           'Лисицына В. Б.',  'К-038/25', 'тревожная кнопка, круглосуточно', '5200302', 'shop', '#003300', '#dcf5dc', 'Работает круглосуточно.'),
    (39,   18, 'site', 'Магазин «Бочонок мёда»',  'ул. Мельничная, 6',           'Пасечник Д. Д.',  'К-039/25', '20:00–09:00',   '5200303', 'shop',   '#003300', '#dcf5dc', NULL),
    (40,   18, 'site', 'Магазин «Гвоздь и доска»', 'ул. Речников, 17',           'Столяров М. К.',  'К-040/25', '19:00–08:00',   '5200304', 'shop',   '#003300', '#dcf5dc', NULL),
    (41,   18, 'site', 'Книжная лавка',           'пл. Согласия, 7',             'Чернилина С. Я.', 'К-041/25', '20:00–10:00',   '5200305', 'shop',   '#003300', '#dcf5dc', NULL),
    (42, NULL, NULL,   'Пост на карьере (снят)',  'карьер «Дальний»',            NULL,              'К-042/22', NULL,            '5200901', NULL,     NULL,      NULL,      'Оборудование демонтировано, в дерево не включён.');

CREATE TEMP VIEW demo_object AS
    SELECT id, group_id, kit FROM demo_vehicle UNION ALL SELECT id, group_id, kit FROM demo_site;

INSERT INTO "Objects" ("Id", "Id_owner", "Id_shema_sensors", "guid")
SELECT id, 0, 1, pg_temp.guid(id) FROM demo_object ORDER BY id;

-- The subdivision is the name of the group.
CREATE TEMP TABLE demo_value (id integer, name text, value bytea) ON COMMIT DROP;
INSERT INTO demo_value
SELECT v.id, given.name, coalesce(given.packed, pg_temp.utf8(given.value))
FROM demo_vehicle v JOIN demo_group g ON g.id = v.group_id LEFT JOIN demo_icon i USING (icon) CROSS JOIN LATERAL (VALUES
    ('name',             v.name,                                                           NULL::bytea),
    ('subdivision',      g.name,                                                           NULL),
    ('modem',            v.modem,                                                          NULL),
    ('phone',            '+7 000 555-01-' || lpad(v.id::text, 2, '0'),                      NULL),
    ('plate_number',     v.plate,                                                          NULL),
    ('vehicle_type',     v.kind,                                                           NULL),
    ('driver',           v.driver,                                                         NULL),
    ('driver_phone',     CASE WHEN v.driver IS NOT NULL THEN '+7 000 555-02-' || lpad(v.id::text, 2, '0') END, NULL),
    ('fuel_tank',        v.tank::text,                                                     NULL),
    ('install_date',     to_char(date '2024-03-01' + v.id * 11, 'DD.MM.YYYY'),             NULL),
    ('pic',              NULL, CASE WHEN v.icon IS NOT NULL THEN pg_temp.qimage(i.png) END),
    ('font_color',       NULL, pg_temp.qcolor(v.font)),
    ('background_color', NULL, pg_temp.qcolor(v.background)),
    ('note',             v.note,                                                           NULL)
) AS given(name, value, packed)
UNION ALL
SELECT s.id, given.name, coalesce(given.packed, pg_temp.utf8(given.value))
FROM demo_site s LEFT JOIN demo_group g ON g.id = s.group_id LEFT JOIN demo_icon i USING (icon) CROSS JOIN LATERAL (VALUES
    ('name',              s.name,                                                          NULL::bytea),
    ('subdivision',       g.name,                                                          NULL),
    ('modem',             s.modem,                                                         NULL),
    ('phone',             '+7 000 555-03-' || lpad(s.id::text, 2, '0'),                     NULL),
    ('address',           s.address,                                                       NULL),
    ('responsible',       s.responsible,                                                   NULL),
    ('responsible_phone', CASE WHEN s.responsible IS NOT NULL THEN '+7 000 555-04-' || lpad(s.id::text, 2, '0') END, NULL),
    ('contract',          s.contract,                                                      NULL),
    ('schedule',          s.schedule,                                                      NULL),
    ('install_date',      to_char(date '2023-09-01' + s.id * 13, 'DD.MM.YYYY'),            NULL),
    ('pic',               NULL, CASE WHEN s.icon IS NOT NULL THEN pg_temp.qimage(i.png) END),
    ('font_color',        NULL, pg_temp.qcolor(s.font)),
    ('background_color',  NULL, pg_temp.qcolor(s.background)),
    ('note',              s.note,                                                          NULL)
) AS given(name, value, packed);

INSERT INTO "Objects_property" ("Id_objects", "Name", "Description", "Type", "Value", "Visible")
SELECT v.id, p.name, p.description, p.type, v.value, p.visible::boolean
FROM demo_value v JOIN demo_property p USING (name)
WHERE v.value IS NOT NULL OR p.name IN ('driver', 'responsible')
ORDER BY v.id, p.pos;

INSERT INTO "Sensors" ("Id_objects", "Name", "Measure", "Type", "Calculate", "Vid", "Quality", "Enum", "Rate")
SELECT o.id, s.name, s.measure, s.type, s.calculate, s.vid, s.quality, s.labels, s.rate
FROM demo_object o JOIN demo_kit k USING (kit) CROSS JOIN unnest(k.sensors) WITH ORDINALITY AS part(code, pos)
JOIN demo_sensor s USING (code)
ORDER BY o.id, part.pos;

INSERT INTO "Commands" ("Id_object", "Name", "Operation", "Description", "ExecBy")
SELECT o.id, c.name, c.operation, c.description, pg_temp.utf8(c.exec_by)
FROM demo_object o JOIN demo_kit k USING (kit) CROSS JOIN unnest(k.commands) WITH ORDINALITY AS part(name, pos)
JOIN demo_command c USING (name)
ORDER BY o.id, part.pos;

INSERT INTO "Params" ("Id_command", "Name", "Description", "Value", "Type")
SELECT c."Id", p.name, p.description, pg_temp.utf8(p.value), p.type
FROM "Commands" c JOIN demo_param p ON p.command = c."Name"
ORDER BY c."Id", p.pos;

-- Object 22 stands in two groups, object 42 in none.
INSERT INTO "Groups_objects" ("Id_group", "Id_object")
SELECT group_id, id FROM demo_object WHERE group_id IS NOT NULL
UNION ALL VALUES (14, 22)
ORDER BY 1, 2;

-- Operators -----------------------------------------------------------------------------------------------------------------

INSERT INTO "Connections" ("Id", "Login", "Password", "Description", "Email", "Phone", "Admin") VALUES
    (1, 'admin',      'demo-admin',      'Лапшина Ольга Николаевна, администратор',            'admin@example.org',      '0005550501', true),
    (2, 'dispatcher', 'demo-dispatcher', 'Кузьмин Олег Павлович, диспетчер городского хозяйства', 'dispatcher@example.org', '0005550502', false),
    (3, 'guard',      'demo-guard',      'Сомова Ирина Юрьевна, дежурный пульта охраны',       'guard@example.org',      '',           false),
    (4, 'engineer',   'demo-engineer',   'Лебедянский Артём Ильич, инженер по оборудованию',   '',                       '0005550504', false),
    (5, 'trainee',    'demo-trainee',    'Стажёр',                                             NULL,                     NULL,         false);

INSERT INTO "OpChk_Layers" ("Id") VALUES (1), (2), (3);

-- Section 1 rights on objects, 2 layers of checkpoints, 3 messages about objects, 4 showing objects on the map. Object or
-- layer 0 is the default of the section. The trainee has defaults only and therefore sees no object yet.
INSERT INTO "Person_Setup" ("Type", "Id_connect", "Id_object", "Id_PersProp")
SELECT section, operator, object, property
FROM (VALUES
    (1, 1,  0,  0, '{201,202,203,204}'::integer[]),
    (1, 1,  1, 42, '{201,202,203,204}'),
    (1, 2,  0,  0, '{201}'),
    (1, 2,  1, 21, '{201,202}'),
    (1, 2, 32, 34, '{201}'),
    (1, 3, 22, 41, '{201,202,203}'),
    (1, 4,  1, 42, '{201,204}'),
    (1, 5,  0,  0, '{201}'),
    (2, 2,  0,  0, '{64,65}'),
    (2, 2,  1,  2, '{57,60,61,64,65,66,67}'),
    (2, 3,  3,  3, '{58,59}'),
    (3, 1,  0,  0, '{1,2,17,27,103,104,110,111,112}'),
    (3, 1,  1, 42, '{1,2,17,27}'),
    (3, 2,  0,  0, '{1,2,302,303}'),
    (3, 2,  1,  9, '{1,2,13,14,58,59,68,69,302}'),
    (3, 2, 10, 17, '{1,2,57,60,61,64,66,303}'),
    (3, 2, 18, 21, '{1,2,15,16,302}'),
    (3, 3,  0,  0, '{17,29,39}'),
    (3, 3, 22, 25, '{1,2,13,14,15,16,17}'),
    (3, 3, 26, 41, '{1,2,17,21,25,27,29,30,39,40,53,54}'),
    (3, 4,  0,  0, '{1,2,100,105}'),
    (3, 4,  1, 42, '{1,2,9,18,19,20,22,26,28,47,48,49,50,51,52,56,100,101,102,105,114}'),
    (3, 5,  0,  0, '{1,2}'),
    (4, 1,  0,  0, '{212}'),
    (4, 2,  1, 21, '{212}'),
    (4, 3, 22, 25, '{212}'),
    (4, 3, 26, 41, '{211}'),
    (4, 4,  0,  0, '{211}')
) AS given(section, operator, first, last, properties),
    generate_series(first, last) AS object, unnest(properties) AS property
ORDER BY section, operator, object, property;

INSERT INTO "Objects_permission" ("Id_object", "Id_connection")
SELECT object, operator
FROM (VALUES (1, 1, 42), (2, 1, 21), (2, 32, 34), (3, 22, 41), (4, 1, 42)) AS given(operator, first, last),
    generate_series(first, last) AS object
ORDER BY operator, object;

-- Templates -----------------------------------------------------------------------------------------------------------------

-- Cards of templates never hold name, subdivision and modem: an object brings its own. The draft is a head without rows.
CREATE TEMP TABLE demo_template (supplied boolean, number integer, title text, kit text, icon text, font text, background text,
    properties text[]) ON COMMIT DROP;
INSERT INTO demo_template VALUES
    (false, 1, 'Дорожная машина',              'truck',   'truck',  '#000000', '#ffe9c7', '{phone,plate_number,vehicle_type,driver,driver_phone,fuel_tank,install_date,pic,font_color,background_color,note}'),
    (false, 2, 'Автобус',                      'bus',     'bus',    '#0b3d91', '#e3edff', '{phone,plate_number,vehicle_type,driver,driver_phone,fuel_tank,pic,font_color,background_color}'),
    (false, 3, 'Магазин под охраной',          'site',    'shop',   '#003300', '#dcf5dc', '{phone,address,responsible,responsible_phone,contract,schedule,pic,font_color,background_color,note}'),
    (false, 4, 'Черновик',                     NULL,      NULL,     NULL,      NULL,      '{}'),
    (true,  1, 'Транспорт с блоком КДН-3',     'truck',   'truck',  '#000000', '#ffffff', '{phone,plate_number,driver,fuel_tank,pic,font_color,background_color}'),
    (true,  2, 'Объект охраны с блоком КД-3',  'site',    'store',  '#000000', '#ffffff', '{phone,address,responsible,responsible_phone,schedule,pic,font_color,background_color}'),
    (true,  3, 'Трекер Trekko',                'tracker', 'patrol', '#000000', '#ffffff', '{phone,note,pic,font_color,background_color}');

-- Rows of all classes but 'd', in the order in which they are stored.
CREATE TEMP TABLE demo_template_row (supplied boolean, number integer, class text, pos bigint, name text, description text,
    data bytea) ON COMMIT DROP;
INSERT INTO demo_template_row
SELECT supplied, number, 't', 0, NULL, title, NULL FROM demo_template
UNION ALL
SELECT t.supplied, t.number, 'p', part.pos, p.name, p.description,
       pg_temp.be32(p.type)
       || pg_temp.qbytes(CASE p.name WHEN 'pic' THEN pg_temp.qimage(i.png) WHEN 'font_color' THEN pg_temp.qcolor(t.font)
                                     WHEN 'background_color' THEN pg_temp.qcolor(t.background) ELSE p.value END)
       || pg_temp.be16(ascii(p.visible))
FROM demo_template t LEFT JOIN demo_icon i USING (icon)
CROSS JOIN unnest(t.properties) WITH ORDINALITY AS part(name, pos) JOIN demo_property p USING (name)
UNION ALL
SELECT t.supplied, t.number, 's', part.pos, '', s.name,
       pg_temp.qstring(s.measure) || pg_temp.be32(s.quality) || pg_temp.be16(s.type) || pg_temp.be16(ascii(s.vid))
       || pg_temp.qlabels(s.labels) || pg_temp.qstring(s.calculate) || pg_temp.qbytes(s.rate)
FROM demo_template t JOIN demo_kit k USING (kit)
CROSS JOIN unnest(k.sensors) WITH ORDINALITY AS part(code, pos) JOIN demo_sensor s USING (code)
UNION ALL
SELECT t.supplied, t.number, 'c', part.pos, c.name, c.description,
       pg_temp.be32(c.operation) || pg_temp.qbytes(pg_temp.utf8(c.exec_by))
FROM demo_template t JOIN demo_kit k USING (kit)
CROSS JOIN unnest(k.commands) WITH ORDINALITY AS part(name, pos) JOIN demo_command c USING (name);

INSERT INTO "Templates" ("Owner", "Class", "Name", "Description", "SpecificData")
SELECT number, class, name, description, data FROM demo_template_row
WHERE NOT supplied ORDER BY number, array_position('{t,p,s,c}', class), pos;

INSERT INTO "TemplatesFirm" ("Owner", "Class", "Name", "Description", "SpecificData")
SELECT number, class, name, description, data FROM demo_template_row
WHERE supplied ORDER BY number, array_position('{t,p,s,c}', class), pos;

INSERT INTO "Templates" ("Owner", "Class", "Name", "Description", "SpecificData")
SELECT c."Id", 'd', p.name, p.description, pg_temp.qbytes(pg_temp.utf8(p.value)) || pg_temp.be32(p.type)
FROM "Templates" c JOIN demo_param p ON p.command = c."Name" WHERE c."Class" = 'c' ORDER BY c."Id", p.pos;

INSERT INTO "TemplatesFirm" ("Owner", "Class", "Name", "Description", "SpecificData")
SELECT c."Id", 'd', p.name, p.description, pg_temp.qbytes(pg_temp.utf8(p.value)) || pg_temp.be32(p.type)
FROM "TemplatesFirm" c JOIN demo_param p ON p.command = c."Name" WHERE c."Class" = 'c' ORDER BY c."Id", p.pos;

-- Example catalogues --------------------------------------------------------------------------------------------------------

INSERT INTO "ExampleObjProps" ("Name", "Description", "Type", "Value", "Visible")
SELECT name, description, type, value, visible FROM demo_property ORDER BY pos;

INSERT INTO "ExampleSensors" ("Name", "Measure", "Quality", "Type", "Vid", "Enum", "Calculate", "Rate", "MayEdit", "MayDelete")
SELECT name, measure, quality, type, vid, labels, calculate, rate, may_edit, may_delete FROM demo_sensor ORDER BY type;

-- Hardware kinds (owner -1), command definitions (owner -2, numbered from 11), then the definitions' parameters and, under
-- each kind, the names of the definitions that it offers.
CREATE TEMP TABLE demo_hardware (id integer, name text, description text, kit text) ON COMMIT DROP;
INSERT INTO demo_hardware VALUES
    (1, 'kdn3',   'Навигационный блок КДН-3', 'truck'),
    (2, 'kd3',    'Охранный блок КД-3',       'site'),
    (3, 'trekko', 'Трекер Trekko',            'tracker');

INSERT INTO "ExampleControls" ("Id", "Owner", "Name", "Description", "SpecificInt")
SELECT id, -1, name, description, NULL FROM demo_hardware
UNION ALL
SELECT 10 + pos, -2, name, description, operation FROM demo_command
ORDER BY 1;

-- Rows were given explicit numbers so far: let the next ones follow them.
DO $$ DECLARE one text; BEGIN
    FOREACH one IN ARRAY ARRAY['"Objects"', '"Connections"', '"OpChk_Layers"', '"ExampleControls"'] LOOP
        EXECUTE format('SELECT setval(pg_get_serial_sequence(%L, ''Id''), max("Id")) FROM %s', one, one);
    END LOOP;
END $$;

INSERT INTO "ExampleControls" ("Owner", "Name", "Description", "SpecificInt")
SELECT 10 + c.pos, p.name, p.description, p.type
FROM demo_command c JOIN demo_param p ON p.command = c.name ORDER BY c.pos, p.pos;

INSERT INTO "ExampleControls" ("Owner", "Name")
SELECT h.id, part.name
FROM demo_hardware h JOIN demo_kit k USING (kit) CROSS JOIN unnest(k.commands) WITH ORDINALITY AS part(name, pos)
ORDER BY h.id, part.pos;

-- The archive's last data: nothing yet from objects 5, 20 and 42. ---------------------------------------------------------------

-- Five unused numbers, the time in seconds since 1970, an empty list of readings.
INSERT INTO archive.lastdata (id_object, received_at, data)
SELECT id, at, decode(repeat('00', 20), 'hex') || pg_temp.be32(extract(epoch FROM at)::integer) || pg_temp.be32(0)
FROM demo_object, LATERAL (SELECT timestamptz '2026-01-31 09:00:00+00' + id * interval '7 seconds') AS moment(at)
WHERE id NOT IN (5, 20, 42)
ORDER BY id;

DROP VIEW demo_object;

COMMIT;
