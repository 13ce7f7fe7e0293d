-- The schema of the order desk (written for the examples).

   CREATE TABLE t_customer
   ( id INTEGER PRIMARY KEY,
     name VARCHAR(80) NOT NULL,
     city VARCHAR(40) );

   CREATE TABLE t_order
   ( id INTEGER PRIMARY KEY,
     customer_id INTEGER REFERENCES t_customer(id),
     placed_on DATE );

   CREATE TABLE t_order_line
   ( order_id INTEGER REFERENCES t_order(id),
     line INTEGER, article VARCHAR(20), qty INTEGER, price DECIMAL(9,2) );

   CREATE OR REPLACE VIEW v_big_orders AS
   SELECT o.id, SUM(l.qty * l.price) AS total
     FROM t_order o JOIN t_order_line l ON l.order_id = o.id
    GROUP BY o.id HAVING SUM(l.qty * l.price) > 1000;
