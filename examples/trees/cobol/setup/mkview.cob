       IDENTIFICATION DIVISION.
       PROGRAM-ID. MKVIEW.
      * Creates the view of open orders that the reports read.
       PROCEDURE DIVISION.
           EXEC SQL
               CREATE VIEW APP.V_OPEN_ORDERS AS
                  SELECT ORDER_NO, CUST_NO, TOTAL
                    FROM E_ORDER
                   WHERE STATUS = 'O'
           END-EXEC
           EXEC SQL
               COMMENT ON TABLE E_ORDER IS 'orders FROM all channels'
           END-EXEC
           STOP RUN.
