<?php
namespace Shop;

use InvalidArgumentException;

final class Item
{
    const CURRENCY = 'EUR';
    protected $name;
    protected $price;

    public function __construct($name, $price)
    {
        if ($price < 0) { throw new InvalidArgumentException('price'); }
        $this->name = $name;
        $this->price = $price;
    }

    public function label()
    {
        return sprintf('%s: %.2f %s', $this->name, $this->price, self::CURRENCY);
    }
}
