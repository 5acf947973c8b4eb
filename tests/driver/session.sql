SELECT name, city, amount FROM sales WHERE city LIKE 'P%' OR amount IS NULL ORDER BY amount DESC
SELECT id, name FROM sales WHERE NOT (city = 'Berlin' OR city IS NULL) AND qty >= 4 ORDER BY city, name DESC
SELECT * FROM sales WHERE name LIKE '%"%' OR name LIKE '%,%'
SELECT name FROM sales WHERE amount BETWEEN 1 OR 2
SELECT name FROM nosuch
SELECT nope FROM sales
SELECT name FROM sales WHERE name > 3
INSERT INTO sales (id, name, qty, amount) VALUES (13, 'Zoe, "Z"', 2, 12.25)
INSERT INTO sales (id, name) VALUES (14, 'Nobody')
SELECT id, name, city, amount FROM sales WHERE id >= 12 ORDER BY id DESC
