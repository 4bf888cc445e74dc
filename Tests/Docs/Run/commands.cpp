void links();

int main()
{
    links();
}
