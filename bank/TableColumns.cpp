// SPDX-License-Identifier: Apache-2.0
#include "bank/TableColumns.h"

#include "common/Error.h"

#include <QHash>
#include <QMap>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace TableColumns {

namespace {

enum class Meaning {
    Question,
    Key,
    Solution, // the key, or what explains it beside one
    Explanation,
    Picture,
    Category,
    Title,
    Nothing
};

struct Alias {
    Meaning What;
    // Of two columns of a meaning the one whose name comes first here counts.
    int Rank;
};

// Lower case, without accents, blanks and punctuation.
QString Plain(QStringView name)
{
    QString plain = name.first(std::min<qsizetype>(name.size(), 100)).toString();
    plain = plain.normalized(QString::NormalizationForm_KD).toLower();
    // Of "N°" and "Question #".
    plain.replace(u'\u00B0', u'o').replace(u'#', "no"_L1);
    plain.removeIf([](QChar c) { return !c.isLetterOrNumber(); });
    return plain;
}

// Names by their meaning, as Plain makes them.
constexpr std::pair<Meaning, QStringView> Names[] = {
    { Meaning::Question,
      u"question questiontext stem questionstem prompt problem frage fragetext fragestellung aufgabe aufgabentext pregunta "
      u"textodelapregunta enunciado enonce intitule textedelaquestion domanda testodelladomanda pergunta pytanie trescpytania "
      u"vraag вопрос текствопроса задание питання текстпитання 问题 題目 题目 质问 質問 問題 item questions fragen text texto "
      u"texte testo текст" },
    { Meaning::Key,
      u"key answerkey correct correctanswer correctanswers correctoption correctoptions correctchoice correctresponse right "
      u"rightanswer rightanswers rightoption answerindex answerno correctindex correctanswerindex correctoptionindex correctno "
      u"richtig richtigeantwort richtigeantworten richtigelosung "
      u"korrekt korrekteantwort schlussel correcta correctas respuestacorrecta respuestascorrectas opcioncorrecta clave "
      u"bonnereponse bonnesreponses reponsecorrecte reponsescorrectes corrige cle corretta rispostacorretta rispostecorrette "
      u"chiave respostacorreta gabarito correto poprawna poprawnaodpowiedz klucz juisteantwoord "
      u"goedeantwoord "
      u"правильный правильныйответ правильныеответы верныйответ ключ правильнавідповідь 正确答案 正確答案 正解" },
    { Meaning::Solution, u"solution solutions losung losungen solucion soluzione solucao" },
    { Meaning::Explanation,
      u"explanation explanations answerexplanation rationale feedback generalfeedback justification reason comment comments "
      u"erklarung "
      u"erlauterung begrundung ruckmeldung kommentar explicacion retroalimentacion comentario explication retroaction "
      u"commentaire spiegazione commento explicacao wyjasnienie uitleg toelichting объяснение пояснение комментарии "
      u"обоснование "
      u"пояснення 解析 解説 解释" },
    { Meaning::Picture,
      u"picture pictures image images exhibit figure imagefile picturefile imagelink imageurl bild bilder abbildung imagen "
      u"imagenes figura "
      u"immagine imagem obraz afbeelding изображение картинка рисунок зображення 图片 画像" },
    { Meaning::Category,
      u"category topic chapter section subject module domain unit kategorie thema themengebiet kapitel abschnitt categoria "
      u"tema "
      u"capitulo unidad categorie theme chapitre sujet argomento capitolo topico kategoria temat categorie onderwerp hoofdstuk "
      u"категория тема раздел глава категорія розділ 分类 类别 カテゴリ" },
    { Meaning::Title,
      u"title name id questionid questionno questionnumber itemid itemno number no nr code titel nummer titulo titre numero "
      u"titolo nome tytul название номер "
      u"идентификатор назва" },
    { Meaning::Nothing,
      u"points point score marks mark weight grade type questiontype difficulty level time timelimit timeinseconds language "
      u"punkte typ "
      u"fragetyp schwierigkeit puntos tipo dificultad punti punteggio difficolta type difficulte баллы тип сложность" },
};

// Words over columns with options: with a letter or a number behind them, or alone.
enum class Word { None, Option, Options, Answer, Answers, Wrong };
constexpr std::pair<Word, QStringView> Words[] = {
    { Word::Option,
      u"option opt choice alternative alt answeroption answerchoice auswahl antwortmoglichkeit antwortoption opcion "
      u"alternativa choix proposition opzione opcao opcja optie вариант вариантответа варіант варіантвідповіді 选项 選択肢" },
    { Word::Options,
      u"options choices alternatives answeroptions answerchoices antwortmoglichkeiten opciones propositions opzioni opcoes "
      u"opcje opties варианты вариантыответа вариантыответов" },
    { Word::Answer,
      u"answer ans response antwort respuesta reponse risposta resposta odpowiedz antwoord ответ відповідь 答案" },
    { Word::Answers,
      u"answers responses antworten respuestas reponses risposte respostas odpowiedzi antwoorden ответы відповіді" },
    { Word::Wrong,
      u"distractor distractors wronganswer wronganswers wrongoption wrong incorrectanswer incorrectanswers incorrectoption "
      u"incorrect distraktor distraktoren falscheantwort falscheantworten falsch distractores respuestaincorrecta incorrecta "
      u"distracteur distracteurs mauvaisereponse mauvaisesreponses distrattore distrattori rispostaerrata distrator "
      u"distratores "
      u"respostaincorreta неправильныйответ неверныйответ" },
};
constexpr QStringView CyrillicLetters = u"абвгдежзик";

// "Answer 1" of "Answer 1 - at most 75 characters", "Correct answer" of "Correct answer(s)".
QString WithoutRemark(const QString &name)
{
    static const QRegularExpression remark(u"\\s+-\\s|\\("_s);
    return name.left(100).section(remark, 0, 0);
}

const QHash<QString, Alias> &Aliases()
{
    static const QHash<QString, Alias> aliases = [] {
        QHash<QString, Alias> all;
        for (const auto &[meaning, words] : Names) {
            for (const QStringView word : words.split(u' ')) {
                if (!all.contains(Plain(word)))
                    all.insert(Plain(word), { meaning, static_cast<int>(all.size()) });
            }
        }
        return all;
    }();
    return aliases;
}

Word WordOf(const QString &plain)
{
    static const QHash<QString, Word> words = [] {
        QHash<QString, Word> all;
        for (const auto &[kind, list] : Words) {
            for (const QStringView word : list.split(u' '))
                all.insert(Plain(word), kind);
        }
        return all;
    }();
    return words.value(plain, Word::None);
}

// The place of an option by the letter or number that ends a name, from 0 for a
// letter and from 1 for a number; nothing for another end.
struct Place {
    enum class Script { Latin, Cyrillic, Number } In;
    int Number;
};
std::optional<Place> PlaceOf(QStringView end)
{
    if (end.size() == 1 && end[0] >= u'a' && end[0] <= u'z')
        return Place{ Place::Script::Latin, end[0].unicode() - u'a' };
    if (end.size() == 1 && CyrillicLetters.contains(end[0]))
        return Place{ Place::Script::Cyrillic, static_cast<int>(CyrillicLetters.indexOf(end[0])) };
    bool isNumber = false;
    const int number = end.size() > 2 ? 0 : end.toInt(&isNumber);
    return isNumber ? std::optional(Place{ Place::Script::Number, number }) : std::nullopt;
}

// What a name such as "optionb" or "b" says of the options: the word and the place.
struct Numbered {
    QString Word;
    Place At;
};
std::optional<Numbered> NumberedOf(const QString &plain)
{
    for (const qsizetype length : { qsizetype(1), qsizetype(2) }) {
        if (plain.size() < length)
            break;
        const auto place = PlaceOf(QStringView(plain).last(length));
        // Of "answer12" the "2" is not the number.
        const bool isCut = place && plain.size() > length && plain[plain.size() - length].isDigit()
            && plain[plain.size() - length - 1].isDigit();
        if (place && !isCut)
            return Numbered{ plain.chopped(length), *place };
    }
    return {};
}

// Columns that are numbered or lettered one after the other.
struct Series {
    QMap<int, int> ByPlace;
    bool IsCyrillic = false;
    bool HasLetters = false;

    void Add(const Place &place, int column)
    {
        HasLetters = HasLetters || place.In != Place::Script::Number;
        IsCyrillic = IsCyrillic || place.In == Place::Script::Cyrillic;
        if (!ByPlace.contains(place.Number))
            ByPlace.insert(place.Number, column);
    }
    // Those from the first on up to a gap; empty when the series has no beginning: a
    // key "B" would name another column than that of B.
    std::vector<int> Columns() const
    {
        std::vector<int> columns;
        const int first = ByPlace.isEmpty() ? -1 : ByPlace.firstKey();
        const bool hasBeginning = first == 0 || (first == 1 && !HasLetters);
        for (int place = first; hasBeginning && ByPlace.contains(place); ++place)
            columns.push_back(ByPlace.value(place));
        return columns;
    }
};

// Finds out what the names of a first row mean.
class Finder {
public:
    explicit Finder(const QStringList &names)
    {
        for (int column = 0; column < names.size(); ++column) {
            if (!Look(Plain(names.at(column)), column))
                Look(Plain(WithoutRemark(names.at(column))), column);
        }
    }

    Columns Result()
    {
        Columns columns;
        for (const auto &[meaning, place] : { std::pair{ Meaning::Question, &columns.Question },
                                              { Meaning::Key, &columns.Key },
                                              { Meaning::Explanation, &columns.Explanation },
                                              { Meaning::Picture, &columns.Picture },
                                              { Meaning::Category, &columns.Category },
                                              { Meaning::Title, &columns.Title } })
            *place = m_best.contains(meaning) ? m_best.value(meaning).second : -1;
        ChooseOptions(columns);
        return columns;
    }

private:
    // Whether the name says something.
    bool Look(const QString &plain, int column)
    {
        if (plain.isEmpty())
            return false;
        if (const auto alias = Aliases().constFind(plain); alias != Aliases().constEnd()) {
            if (!m_best.contains(alias->What) || alias->Rank < m_best.value(alias->What).first)
                m_best.insert(alias->What, { alias->Rank, column });
            return true;
        }
        if (const Word word = WordOf(plain); word != Word::None) {
            m_alone[word].push_back(column);
            return true;
        }
        const auto numbered = NumberedOf(plain);
        Series *series = numbered ? SeriesOf(numbered->Word) : nullptr;
        if (series)
            series->Add(numbered->At, column);
        return series;
    }

    // The columns that the word and a letter or a number stand over; null for a word
    // that says nothing.
    Series *SeriesOf(const QString &word)
    {
        if (word.isEmpty())
            return &m_bare;
        if (Aliases().contains(word) && Aliases().value(word).What == Meaning::Explanation)
            return &m_feedback;
        const Word kind = WordOf(word);
        return kind == Word::None ? nullptr : kind == Word::Wrong ? &m_wrong : &m_named;
    }

    void ChooseOptions(Columns &columns)
    {
        const bool isBare = m_bare.Columns().size() > m_named.Columns().size();
        const Series &series = isBare ? m_bare : m_named;
        columns.Options = series.Columns();
        columns.HasCyrillicLetters = series.IsCyrillic;
        std::vector<int> answers = AllOf(Word::Answer, Word::Answers);
        // A single column with options holds all of them; so may one of answers when
        // another tells the right ones.
        if (columns.Options.empty())
            columns.Options = AllOf(Word::Option, Word::Options);
        if (columns.Options.empty())
            FindDistractors(columns);
        int solution = m_best.contains(Meaning::Solution) ? m_best.value(Meaning::Solution).second : -1;
        if (columns.Key < 0 && (columns.Options.empty() || answers.size() != 1))
            columns.Key = std::exchange(solution, -1);
        if (columns.Options.empty() && columns.Key >= 0)
            columns.Options = std::exchange(answers, {});
        if (columns.Key < 0 && answers.size() == 1)
            columns.Key = answers.front();
        if (columns.Explanation < 0)
            columns.Explanation = solution;
        const std::vector<int> feedback = m_feedback.Columns();
        if (feedback.size() == columns.Options.size())
            columns.Feedback = feedback;
    }

    void FindDistractors(Columns &columns)
    {
        columns.Options = m_wrong.Columns();
        if (columns.Options.empty())
            columns.Options = m_alone.value(Word::Wrong);
        columns.AreDistractors = !columns.Options.empty();
    }

    // The columns that one of the words stands over alone.
    std::vector<int> AllOf(Word one, Word other) const
    {
        std::vector<int> columns = m_alone.value(one);
        const std::vector<int> more = m_alone.value(other);
        columns.insert(columns.end(), more.begin(), more.end());
        return columns;
    }

    QMap<Meaning, std::pair<int, int>> m_best; // rank and column
    Series m_named;
    Series m_bare;
    Series m_wrong;
    Series m_feedback;
    QMap<Word, std::vector<int>> m_alone; // without a letter or a number
};

[[noreturn]] void Fail(const QString &text)
{
    throw Error(InvalidCall, text, u"TableColumns::Apply()"_s);
}

// A column, from 0, by its number from 1 or by its name.
int ColumnOf(const QString &value, const QStringList &names)
{
    bool isNumber = false;
    const int number = value.toInt(&isNumber);
    if (isNumber && number >= 1 && number <= names.size())
        return number - 1;
    if (isNumber)
        Fail(u"--columns names column %1, and the first row has %2"_s.arg(value).arg(names.size()));
    for (int column = 0; column < names.size(); ++column) {
        if (Plain(names.at(column)) == Plain(value))
            return column;
    }
    Fail(u"no column is called \"%1\"; columns are: %2"_s.arg(value, Listed(names)));
}

// The first and the last number of "3-6"; nothing for another value.
std::optional<std::pair<QString, QString>> RangeOf(const QString &value)
{
    const QStringList ends = value.split(u'-');
    bool isFirst = false;
    bool isLast = false;
    if (ends.size() != 2 || (ends[0].toInt(&isFirst), ends[1].toInt(&isLast), !isFirst || !isLast))
        return {};
    return std::pair{ ends[0].trimmed(), ends[1].trimmed() };
}

bool IsName(const QString &value)
{
    bool isNumber = false;
    value.toInt(&isNumber);
    return !isNumber && !RangeOf(value);
}

}

bool Columns::IsUsed(int column) const
{
    return std::find(Options.begin(), Options.end(), column) != Options.end()
        || std::find(Feedback.begin(), Feedback.end(), column) != Feedback.end() || column == Question || column == Key
        || column == Explanation || column == Picture || column == Category || column == Title;
}

Columns ByNames(const QStringList &names)
{
    return Finder(names).Result();
}

bool AreKnown(const Columns &columns)
{
    return columns.Question >= 0 && (columns.Key >= 0 || !columns.Options.empty());
}

bool IsWithoutUse(const QString &name)
{
    const auto isKnown = [](const QString &plain) {
        const auto alias = Aliases().constFind(plain);
        return plain.isEmpty() || (alias != Aliases().constEnd() && alias->What == Meaning::Nothing);
    };
    return isKnown(Plain(name)) || isKnown(Plain(WithoutRemark(name)));
}

bool Request::HasNames() const
{
    return std::any_of(Entries.begin(), Entries.end(),
                       [](const Entry &entry) { return std::any_of(entry.Values.begin(), entry.Values.end(), IsName); });
}

Request RequestOf(const QString &text)
{
    Request request;
    if (text.trimmed().isEmpty())
        return request;
    for (const QString &part : text.split(u',')) {
        const qsizetype equals = part.indexOf(u'=');
        if (equals >= 0)
            request.Entries.push_back({ part.first(equals).trimmed().toLower(), {} });
        if (request.Entries.empty() || part.sliced(equals + 1).trimmed().isEmpty())
            Fail(u"--columns \"%1\" is not of the form \"question=2,options=3-6,key=Answer\""_s.arg(text));
        request.Entries.back().Values.append(part.sliced(equals + 1).trimmed());
    }
    return request;
}

void Apply(const Request &request, const QStringList &names, Columns &columns)
{
    const std::pair<QLatin1StringView, int *> single[] = {
        { "question"_L1, &columns.Question }, { "key"_L1, &columns.Key },           { "explanation"_L1, &columns.Explanation },
        { "picture"_L1, &columns.Picture },   { "category"_L1, &columns.Category }, { "title"_L1, &columns.Title },
    };
    for (const Request::Entry &entry : request.Entries) {
        std::vector<int> places;
        for (const QString &value : entry.Values) {
            const auto range = RangeOf(value);
            const int first = ColumnOf(range ? range->first : value, names);
            const int last = range ? ColumnOf(range->second, names) : first;
            for (int column = first; column <= last; ++column)
                places.push_back(column);
        }
        const auto found
            = std::find_if(std::begin(single), std::end(single), [&](const auto &each) { return each.first == entry.Meaning; });
        if (entry.Meaning == "options"_L1 && !places.empty()) {
            columns.Options = places;
            columns.AreDistractors = false;
            columns.Feedback.clear();
        } else if (found == std::end(single)) {
            Fail(
                u"--columns names no meaning \"%1\": question, options, key, explanation, picture, category and title are some"_s
                    .arg(entry.Meaning));
        } else if (places.size() != 1) {
            Fail(u"--columns gives \"%1\" %2 columns, and it has one"_s.arg(entry.Meaning).arg(places.size()));
        } else {
            *found->second = places.front();
        }
    }
}

QString Listed(const QStringList &names)
{
    constexpr qsizetype Most = 20;
    QStringList parts;
    for (const QString &name : names.first(std::min(names.size(), Most)))
        parts.append(u'"' + name.simplified().left(40) + u'"');
    return parts.join(u", "_s) + (names.size() > Most ? u" ..."_s : QString());
}

bool IsOptionWord(QStringView word)
{
    return WordOf(Plain(word)) != Word::None;
}

}
