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
SELECT city, COUNT(*) AS n, AVG(amount) AS mean, MIN(name) FROM sales GROUP BY city HAVING COUNT(*) > 1 ORDER BY n DESC, city
SELECT {fn LCASE(name)} AS lower_name, qty * 2 AS twice, {d '2026-11-23'} AS day FROM sales WHERE id < 4 ORDER BY 2 DESC
SELECT city, name FROM sales GROUP BY city
