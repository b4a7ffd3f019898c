// SPDX-License-Identifier: Apache-2.0
#include "markup/Readable.h"
#include "tests/support/Rows.h"

using Markup::Kind;

namespace {

// The same formula in both.
struct Formula {
    QString Tex;
    QString MathMl;
    QString Expected;
};

QString ShownTex(const QString &source, Kind kind)
{
    return Markup::Read({ source, kind }).Text;
}

}

TEST(TexTest, FormulasAreReadable)
{
    const std::vector<Formula> formulas = {
        { u"x^2+y_{i+1}^{n}"_s,
          u"<mrow><msup><mi>x</mi><mn>2</mn></msup><mo>+</mo><msubsup><mi>y</mi><mrow><mi>i</mi><mo>+</mo><mn>1</mn></mrow><mi>n</mi></msubsup></mrow>"_s,
          u"x²+yᵢ₊₁ⁿ"_s },
        { u"\\frac{a}{b} = \\dfrac{a+b}{2c}"_s,
          u"<mfrac><mi>a</mi><mi>b</mi></mfrac><mo>=</mo><mfrac><mrow><mi>a</mi><mo>+</mo><mi>b</mi></mrow><mrow><mn>2</mn><mi>c</mi></mrow></mfrac>"_s,
          u"a/b = (a+b)/(2c)"_s },
        { u"\\frac12x, 2\\frac{1}{3}, \\left(\\frac{1}{2}\\right)^2"_s,
          u"<mfrac><mn>1</mn><mn>2</mn></mfrac><mi>x</mi><mo>,</mo><mn>2</mn><mfrac><mn>1</mn><mn>3</mn></mfrac><mo>,</mo>"
          "<msup><mfenced><mfrac><mn>1</mn><mn>2</mn></mfrac></mfenced><mn>2</mn></msup>"_s,
          u"(1/2)x, 2 1/3, (1/2)²"_s },
        { u"\\sqrt{x}\\le\\sqrt[3]{x+1}\\cdot\\sqrt2 x"_s,
          u"<msqrt><mi>x</mi></msqrt><mo>≤</mo><mroot><mrow><mi>x</mi><mo>+</mo><mn>1</mn></mrow><mn>3</mn></mroot><mo>⋅</mo>"
          "<msqrt><mn>2</mn></msqrt><mi>x</mi>"_s,
          u"√x ≤ ∛(x+1)·√2 x"_s },
        { u"\\sum_{i=1}^{n} i^{-1} \\ne 2\\sin^2 \\alpha'"_s,
          u"<munderover><mo>∑</mo><mrow><mi>i</mi><mo>=</mo><mn>1</mn></mrow><mi>n</mi></munderover>"
          "<msup><mi>i</mi><mrow><mo>−</mo><mn>1</mn></mrow></msup><mo>≠</mo><mn>2</mn>"
          "<msup><mi>sin</mi><mn>2</mn></msup><mo>&#x2061;</mo><mi>α</mi><mo>′</mo>"_s,
          u"∑ᵢ₌₁ⁿ i⁻¹ ≠ 2 sin² α'"_s },
        { u"\\lim_{x\\to 0} f(x)=2^{2^n}"_s,
          u"<munder><mi>lim</mi><mrow><mi>x</mi><mo>→</mo><mn>0</mn></mrow></munder><mi>f</mi><mo>(</mo><mi>x</mi><mo>)</mo>"
          "<mo>=</mo><msup><mn>2</mn><msup><mn>2</mn><mi>n</mi></msup></msup>"_s,
          u"lim_(x→0) f(x) = 2^(2ⁿ)"_s },
        { u"v_A t \\in \\mathbb{R}, 90^\\circ, \\bar{a}"_s,
          u"<msub><mi>v</mi><mi>A</mi></msub><mi>t</mi><mo>∈</mo><mi>ℝ</mi><mo>,</mo><msup><mn>90</mn><mo>∘</mo></msup><mo>,</"
          u"mo>"
          "<mover><mi>a</mi><mo>¯</mo></mover>"_s,
          u"v_A t ∈ ℝ, 90°, ā"_s },
        { u"x \\text{ if } x>0"_s, u"<mi>x</mi><mtext> if </mtext><mi>x</mi><mo>&gt;</mo><mn>0</mn>"_s, u"x if x > 0"_s },
        { u"\\frac{-b\\pm\\sqrt{b^2-4ac}}{2a}"_s,
          u"<mfrac><mrow><mo>-</mo><mi>b</mi><mo>±</mo><msqrt><msup><mi>b</mi><mn>2</mn></msup><mo>-</mo><mn>4</mn><mi>a</"
          u"mi><mi>c</mi></msqrt></mrow>"
          "<mrow><mn>2</mn><mi>a</mi></mrow></mfrac>"_s,
          u"(-b±√(b²-4ac))/(2a)"_s },
        { u"\\int_0^1 x\\,dx \\approx |x|^2 \\not\\subset (a,b]"_s,
          u"<msubsup><mo>∫</mo><mn>0</mn><mn>1</mn></msubsup><mi>x</mi><mspace/><mi>d</mi><mi>x</mi><mo>≈</mo><mo>|</mo><mi>x</"
          u"mi>"
          "<msup><mo>|</mo><mn>2</mn></msup><mo>⊄</mo><mo>(</mo><mi>a</mi><mo>,</mo><mi>b</mi><mo>]</mo>"_s,
          u"∫₀¹ x dx ≈ |x|² ⊄ (a, b]"_s },
    };
    for (const Formula &formula : formulas) {
        EXPECT_EQ(ShownTex(u"\\("_s + formula.Tex + u"\\)"_s, Kind::Plain), formula.Expected);
        EXPECT_EQ(ShownTex(u"<m:math>"_s + QString(formula.MathMl).replace(u"<m"_s, u"<m:m"_s).replace(u"</m"_s, u"</m:m"_s)
                               + u"</m:math>"_s,
                           Kind::Html),
                  formula.Expected);
    }
    const std::vector<Row> rows = {
        { "a group without a base", u"{}^{14}_6\\mathrm{C}\\ \\mathrm{km}/\\mathrm{h}"_s, u"₆¹⁴C km/h"_s },
        { "chemistry", u"\\ce{2H2O + SO4^2- -> Na+}"_s, u"2H₂O + SO₄²⁻ → Na⁺"_s },
        { "derivatives and lines", u"\\frac{d}{dx}, \\frac{\\partial f}{\\partial x}, \\frac{a}{bx}, 0.\\overline{36}"_s,
          u"d/dx, ∂f/∂x, a/(bx), 0.3\u03056\u0305"_s },
        { "lists", u"1, 2, \\ldots, n; \\{1,2\\}"_s, u"1, 2, …, n; {1,2}"_s },
        { "others", u"\\binom{n}{k} \\%5 \\{1{,}5; a \\mid b\\} a\\bmod b \\ldots"_s, u"C(n, k)%5{1,5; a | b}a mod b…"_s },
    };
    ExpectRows([](const QString &source) { return ShownTex(u"\\["_s + source + u"\\]"_s, Kind::Html); }, rows);
}

TEST(TexTest, TheTextAround)
{
    const std::vector<Row> formulas = {
        { "dollars", u"If $x$ and $2x+3$, $$\\pi$$: $f(x)=x_1$."_s, u"If x and 2x+3, π: f(x) = x₁."_s },
        { "brackets", u"A \\(n\\)th, \\(ABC\\), '\\(b^2\\)', \\[a<b\\]"_s, u"A nth, ABC, 'b²', a < b"_s },
        { "absolute values and endings", u"$|x|$, $i$th, $x_i$s, year 5 $x$, $\\left\\{ x \\right.$"_s,
          u"|x|, ith, xᵢs, year 5 x, {x"_s },
        { "markup inside", u"<b>$a &lt; b$</b> <code>$a^2$ \\(b\\)</code> $c$"_s, u"a < b $a^2$ \\(b\\) c"_s },
        { "pictures", u"<img data-equation-content='x^2' src=y> <img class=\"texrender\" alt=\"\\frac{1}{2}\" src=y>"_s,
          u"x² 1/2"_s },
    };
    ExpectRows([](const QString &source) { return ShownTex(source, Kind::Moodle); }, formulas);
    const std::vector<Row> rows = {
        { "in Markdown", u"*a* $x_1*y_1$ and \\\\(b^2\\\\) \\(c\\) `$d^2$` \\(or so\\)"_s,
          u"a x₁*y₁ and b² c $d^2$ (or so)"_s },
    };
    ExpectRows([](const QString &source) { return ShownTex(source, Kind::Markdown); }, rows);
    for (const QString &text :
         { u"$5 and $10"_s, u"10 $, 5$ de moins, 7 $-6$"_s, u"$PATH$s $a|$b|$"_s, u"$x\ny$"_s, u"costs $5, or 6$ (5$-6$)"_s,
           u"between $1,000-$2,000"_s, u"$PATH or $HOME/$USER"_s, u"$HOME_DIR$"_s, u"${a}${b} $_GET['x'].$_POST['y']"_s,
           u"kill $$; echo $$"_s, u"$a+$b; $i<$n"_s, u"=$A$1+$B$2"_s, u"df$col_a == df$col_b"_s, u"/^a$|^b$/"_s,
           u"\\d \\[a-z\\]"_s, u"sed 's/\\(a\\)\\(b\\)/\\2/' '\\[a-z\\]'"_s, u"C:\\(x86\\bin"_s, u"US$5 $(ls -l $HOME)"_s })
        EXPECT_EQ(ShownTex(text, Kind::Moodle), text);
}

TEST(TexTest, WhatIsTooComplexStays)
{
    const QString matrix = u"\\(\\begin{matrix}a&b\\\\c&d\\end{matrix}\\)"_s;
    for (const QString &text :
         { matrix, u"$\\unknown{x}$"_s, u"$x \\\\ y$"_s, u"$x^2^3$"_s, u"$\\frac{1}{$"_s, u"$\\overline{A+B}$"_s }) {
        const Markup::Readable readable = Markup::Read({ text, Kind::Moodle });
        EXPECT_EQ(readable.Text, text);
        EXPECT_EQ(readable.Warnings.size(), 1) << text.toStdString();
    }
    EXPECT_EQ(Markup::Read({ matrix, Kind::Html }).Warnings,
              QStringList(u"a formula that is too complex stays as it is written: "_s + matrix));
    EXPECT_EQ(ShownTex(u"**a** "_s + matrix, Kind::Markdown), u"a "_s + matrix);

    const Markup::Readable table = Markup::Read(
        { u"<math><mtable><mtr><mtd><mi>a</mi></mtd><mtd><mn>2</mn></mtd></mtr></mtable></math>"_s, Kind::Html });
    EXPECT_EQ(table.Text, u"a 2"_s);
    EXPECT_EQ(table.Warnings, QStringList(u"of a formula that is too complex only the characters remain: a 2"_s));
    const QString thin = u"<mfrac linethickness='0pt'><mi>n</mi><mi>k</mi></mfrac>"_s;
    const QString fenced = u"<mo>(</mo>"_s + thin + u"<mo>)</mo><mo>=</mo><mfenced>"_s + thin + u"</mfenced>"_s;
    const Markup::Readable stacks
        = Markup::Read({ u"<math>"_s + fenced + u"</math> <math>"_s + thin
                             + u"<menclose notation='updiagonalstrike'><mn>5</mn></menclose></math> \\(\\underline{x}\\)"_s,
                         Kind::Html });
    EXPECT_EQ(stacks.Text, u"C(n, k) = C(n, k) (n k)5 x"_s);
    EXPECT_EQ(stacks.Warnings,
              (QStringList{ u"what stands one above the other in a formula stands side by side: (n k)"_s,
                            u"the lines at a part of a formula (updiagonalstrike) are not shown"_s,
                            u"underlined text is shown like any other"_s }));
    EXPECT_EQ(ShownTex(u"<math><semantics><annotation encoding='application/x-tex'>x^2</annotation></semantics></math>"_s,
                       Kind::Html),
              u"x²"_s);
}
