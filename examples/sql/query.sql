SELECT c.name, SUM(o.amount) AS total -- per customer
  FROM customers c, orders o
 WHERE o.customer_id = c.id(+) AND o.status <> 'it''s closed' AND o.amount >= 1.5
 GROUP BY c.name /* biggest first */ ORDER BY 2 DESC;
